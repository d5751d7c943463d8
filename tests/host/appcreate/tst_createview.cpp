// The create view base driven as an application and a user drive it:
// set-up order, file notifications, the create flow into a project
// folder, refusals, session photos and the thumbnail rules.
#include "GpsJpeg.h"
#include "TestFlyout.h"

#include <appcreate/CreateViewController.h>
#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <appcreate/PhotoSceneData.h>
#include <appcreate/ProcessingService.h>
#include <keelcore/Dispatch.h>
#include <uibase/BaseView.h>
#include <uibase/FileDialog.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/LocalImageFileItem.h>

#include <QtTest>
#include <QtWidgets>

#include <support/TestSupport.h>

using namespace Zyn::AppCreate;
using Zyn::UiBase::TaskDialog;

namespace {

class ExtraCommand : public Zyn::UiBase::CommandBase {
    Q_OBJECT
public:
    using CommandBase::CommandBase;
    bool execute() override { return true; }
};

// What an application does with the base: its own flyout and command.
class TestCreateVC : public CreateViewController {
    Q_OBJECT
public:
    void viewDidLoad() override
    {
        ++loads;
        stateAtLoad = qobject_cast<MainState*>(getState());
        CreateViewController::viewDidLoad();
        if (!stateAtLoad)
            return;
        stateAtLoad->SetAutoBrowseForPhotos(autoBrowse);
        stateAtLoad->SetStopReloadingPhotos(stopReloading);
        PhotoPreview* canvas = stateAtLoad->getPhotoCanvas();
        flyout = new TestFlyout(*stateAtLoad, canvas);
        canvas->SetFlyout(flyout);
        m_cmdGroup->addCommand(new ExtraCommand(this), Zyn::UiBase::CommandGroup::PositionTrailing);
        addCommand(m_cmdGroup);
    }
    void onCreateButtonClicked() override { calls << QStringLiteral("create"); }
    void getCoordSysFromLastImage() override
    {
        calls << QStringLiteral("coordsys");
        filesAtCoordSys = getLocalFilesToUpload();
    }

    bool autoBrowse = false;
    bool stopReloading = true;
    int loads = 0;
    MainState* stateAtLoad = nullptr;
    QPointer<TestFlyout> flyout;
    QStringList calls;
    QStringList filesAtCoordSys;
};

class FilesObserver : public QObject, public CreateFilesProtocol {
    Q_OBJECT
public:
    void onFilesChanged(const QStringList& files) override { lists << files; }
    QList<QStringList> lists;
};

class Presenter : public QObject, public Zyn::UiBase::PresentViewProtocol {
    Q_OBJECT
public:
    void presentView(Zyn::UiBase::BaseViewController* c, int direction) override
    {
        presented = c;
        this->direction = direction;
    }
    void dismissView(Zyn::UiBase::BaseViewController*) override {}
    Zyn::UiBase::BaseViewController* presented = nullptr;
    int direction = -1;
};

class OtherItem : public Zyn::UiToolkit::IThumbnailItem {
    Q_OBJECT
public:
    QString path() const override { return QStringLiteral("cloud://1"); }
    QString displayName() const override { return QStringLiteral("1"); }
    State state() const override { return Ready; }
    QImage thumbnail() const override { return QImage(); }
    void requestThumbnail(Priority) override {}
};

} // namespace

class TestCreateView : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        for (int i = 0; i < 3; ++i) {
            const QString path = m_dir.filePath(QStringLiteral("photos/IMG_%1.jpg").arg(i));
            QDir().mkpath(QFileInfo(path).path());
            QVERIFY(GpsJpeg::writeWithGps(path, {46.5 + i * 0.001, 7.9, 1500}, i));
            m_photos << path;
        }
        Zyn::AppCreate::CreateModelFlyout::setTermsHandler([](const QString&) { return true; });
    }
    void init()
    {
        static int n = 0;
        qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects%1").arg(++n)).toUtf8());
        QSettings().clear();
        m_dialogs.record();
        Zyn::UiBase::FileDialog::setHandler([](const Zyn::UiBase::FileDialog::Request&) { return QStringList(); });
    }
    void cleanup()
    {
        for (const auto& vc : m_views)
            delete vc.data();
        m_views.clear();
        QVERIFY(KeelCore::waitForIdle());
        m_dialogs.stop();
        Zyn::UiBase::FileDialog::clearHandler();
    }

    void initializeBuildsStateBeforeViewDidLoad()
    {
        auto* vc = new TestCreateVC;
        m_views << vc;
        vc->getView(); // the plug-in takes the view first
        QCOMPARE(vc->loads, 0);
        QVERIFY(!vc->getState());
        vc->Initialize();
        vc->Initialize();
        QCOMPARE(vc->loads, 1);
        QVERIFY(vc->stateAtLoad);
        QCOMPARE(vc->getState(), static_cast<QObject*>(vc->stateAtLoad));
        PhotoPreview* canvas = vc->stateAtLoad->getPhotoCanvas();
        QVERIFY(canvas);
        QCOMPARE(vc->centralWidget(CreateViewController::CentralCanvas), static_cast<QWidget*>(canvas));
        QVERIFY(vc->getView()->isAncestorOf(canvas));
        // Installing the canvas again is harmless.
        vc->setCentralWidget(CreateViewController::CentralCanvas, canvas);
        QCOMPARE(vc->centralWidget(CreateViewController::CentralCanvas), static_cast<QWidget*>(canvas));

        // The application's command shows in the command bar.
        QVERIFY(vc->getView()->findChild<QToolButton*>(QStringLiteral("cmd_ExtraCommand")));
        QVERIFY(vc->findCommand(QStringLiteral("ExtraCommand")));
        QVERIFY(vc->commands().contains(vc->findCommand(QStringLiteral("CreateViewCommands"))));
    }
    void fileChangesReachObserversAndState()
    {
        TestCreateVC* vc = makeView();
        PhotoPreview* canvas = canvasOf(vc);
        FilesObserver observer;
        vc->addObserver(&observer);
        QSignalSpy added(vc->stateAtLoad, &MainState::localPhotosAdded);

        QCOMPARE(canvas->addFiles(m_photos.mid(0, 2)), m_photos.mid(0, 2));
        QCOMPARE(added.count(), 1);
        QCOMPARE(added.at(0).at(0).toStringList(), m_photos.mid(0, 2));
        QCOMPARE(observer.lists.size(), 1);
        QCOMPARE(observer.lists.last(), m_photos.mid(0, 2));

        canvas->addFiles({m_photos.at(2)});
        QCOMPARE(observer.lists.last(), m_photos);
        QCOMPARE(vc->getFiles(), m_photos);
        QCOMPARE(vc->stateAtLoad->selectedFileCount(), 3);

        canvas->removeFiles({m_photos.at(0)});
        QCOMPARE(observer.lists.last(), m_photos.mid(1));
        QCOMPARE(vc->getLocalFilesToUpload(), m_photos.mid(1));
    }
    void createFlowWritesTheProjectWithTheFlyoutSettings()
    {
        TestCreateVC* vc = makeView();
        PhotoPreview* canvas = canvasOf(vc);
        canvas->addFiles(m_photos);
        canvas->setFileSelected(m_photos.at(1), false);

        TestFlyout* flyout = vc->flyout;
        flyout->m_mesh = true;
        flyout->m_pointCloud = true;
        flyout->m_orthoMap = false;
        flyout->m_pixelSize = 0.05f;
        flyout->m_coordSys = QStringLiteral("EPSG:32633");
        flyout->setModelName(QStringLiteral("Flow_1"));

        auto* create = canvas->findChild<QPushButton*>(QStringLiteral("create_button"));
        QVERIFY(create && create->isEnabled());
        QTest::mouseClick(create, Qt::LeftButton);
        QCOMPARE(vc->calls, QStringList({"create", "coordsys"}));
        QCOMPARE(vc->filesAtCoordSys, QStringList({m_photos.at(0), m_photos.at(2)}));
        QVERIFY(flyout->isVisible());
        QVERIFY(m_dialogs.isEmpty());

        QSignalSpy submitted(vc, &CreateViewController::projectSubmitted);
        flyout->accept();
        QCOMPARE(submitted.count(), 1);
        const QString folder = submitted.at(0).at(0).toString();
        QCOMPARE(folder, ProcessingService::projectsDirectory() + QStringLiteral("/Flow_1"));

        // The flyout's choices and the included photos reach the project (the
        // manifest's full form is the service's test).
        QFile file(folder + QStringLiteral("/project.json"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QJsonObject m = QJsonDocument::fromJson(file.readAll()).object();
        QCOMPARE(m.value("outputs").toObject().value("pointCloud").toBool(), true);
        QCOMPARE(m.value("pixelSizeMeters").toDouble(), 0.05);
        QCOMPARE(m.value("coordinateSystem").toObject().value("code").toString(), QStringLiteral("EPSG:32633"));
        const QJsonArray photos = m.value("photos").toArray();
        QCOMPARE(photos.size(), 2);
        QCOMPARE(photos.at(1).toObject().value("path").toString(), m_photos.at(2));
        // The GCP support file of this scene, in the hidden support folder.
        const QString support = m.value("gcp").toObject().value("supportFile").toString();
        QCOMPARE(support, vc->stateAtLoad->getPhotoSceneData()->getSupportFilePath(QStringLiteral("gcp_survey.xml")));
        QVERIFY(support.startsWith(ProcessingService::projectsDirectory() + QStringLiteral("/.support/")));
        QVERIFY(m_dialogs.isEmpty());

        // The hidden support folder is not a project.
        QVERIFY(KeelCore::waitForIdle());
        const QList<ProjectInfo> projects = ProcessingService::instance()->projects();
        QCOMPARE(projects.size(), 1);
        QCOMPARE(projects.at(0).name, QStringLiteral("Flow_1"));
    }
    void existingProjectNameIsRefusedAndKept()
    {
        QVERIFY(QDir().mkpath(ProcessingService::projectsDirectory() + QStringLiteral("/Taken")));
        TestCreateVC* vc = makeView();
        canvasOf(vc)->addFiles(m_photos);
        vc->flyout->setModelName(QStringLiteral("Taken"));
        emit canvasOf(vc)->createRequested();
        QSignalSpy submitted(vc, &CreateViewController::projectSubmitted);
        vc->flyout->accept();
        // What the folder holds is the service's to keep; the view says why.
        QCOMPARE(submitted.count(), 0);
        QCOMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs.at(0).mainText, QStringLiteral("The project cannot be created."));
        QCOMPARE(m_dialogs.at(0).secondaryText, ProcessingService::projectExistsText(QStringLiteral("Taken")));
    }
    void createWithoutPhotosShowsNoFlyout()
    {
        TestCreateVC* vc = makeView();
        emit canvasOf(vc)->createRequested();
        QCOMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs.at(0).mainText, QStringLiteral("The project has no photos."));
        QVERIFY(vc->calls.isEmpty());
        QVERIFY(!vc->flyout->isVisible());
    }
    void sessionPhotosComeBackUnlessStopped()
    {
        {
            TestCreateVC* first = makeView(false);
            canvasOf(first)->addFiles(m_photos.mid(0, 2));
        }
        TestCreateVC* reloading = makeView(false);
        QCOMPARE(canvasOf(reloading)->getFiles(), m_photos.mid(0, 2));

        TestCreateVC* stopped = makeView(true);
        QVERIFY(canvasOf(stopped)->getFiles().isEmpty());

        // Photos deleted since then are left out, quietly.
        QFile::copy(m_photos.at(2), m_dir.filePath(QStringLiteral("temp.jpg")));
        canvasOf(reloading)->addFiles({m_dir.filePath(QStringLiteral("temp.jpg"))});
        QVERIFY(QFile::remove(m_dir.filePath(QStringLiteral("temp.jpg"))));
        TestCreateVC* again = makeView(false);
        QCOMPARE(canvasOf(again)->getFiles(), m_photos.mid(0, 2));
    }
    void autoBrowseOpensThePhotoBrowserOnce()
    {
        int asked = 0;
        Zyn::UiBase::FileDialog::setHandler([&asked, this](const Zyn::UiBase::FileDialog::Request&) {
            ++asked;
            return QStringList{m_photos.at(0)};
        });
        TestCreateVC* vc = makeView(true, true);
        vc->viewDidAppear();
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(asked, 1);
        QCOMPARE(canvasOf(vc)->getFiles(), QStringList{m_photos.at(0)});
        vc->viewDidAppear();
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(asked, 1);

        TestCreateVC* quiet = makeView(true, false);
        quiet->viewDidAppear();
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(asked, 1);
    }
    void thumbnailItemsAreLocalPhotosOnly()
    {
        TestCreateVC* vc = makeView();
        QVERIFY(!vc->validateThumbnailItem({}));
        SCloudFile remote;
        remote.path = QStringLiteral("cloud://abc");
        remote.isLocal = false;
        QVERIFY(vc->createThumbnailItem(remote).isNull());

        const SCloudFile local = SCloudFile::fromLocalPath(m_photos.at(0));
        QCOMPARE(local.name, QStringLiteral("IMG_0.jpg"));
        QVERIFY(local.size > 0);
        const auto item = vc->createThumbnailItem(local);
        QVERIFY(qobject_cast<Zyn::UiToolkit::LocalImageFileItem*>(item.data()));
        QCOMPARE(item->path(), m_photos.at(0));
        QVERIFY(vc->validateThumbnailItem(item));
        QVERIFY(!vc->validateThumbnailItem(QSharedPointer<Zyn::UiToolkit::IThumbnailItem>(new OtherItem)));
    }
    void presentingGoesThroughTheDelegate()
    {
        TestCreateVC* vc = makeView();
        Presenter presenter;
        vc->KeelCore::Delegator<Zyn::UiBase::PresentViewProtocol>::setDelegate(&presenter);
        auto* panel = new Zyn::UiBase::BaseViewController;
        vc->presentViewController(panel, Zyn::UiBase::TransitionFromRight);
        QCOMPARE(presenter.presented, panel);
        QCOMPARE(presenter.direction, 4);
        QVERIFY(!vc->presentedViewController());

        vc->KeelCore::Delegator<Zyn::UiBase::PresentViewProtocol>::setDelegate(nullptr);
        vc->presentViewController(panel, Zyn::UiBase::TransitionNone);
        QCOMPARE(vc->presentedViewController(), panel);
    }

private:
    TestCreateVC* makeView(bool stopReloading = true, bool autoBrowse = false)
    {
        auto* vc = new TestCreateVC;
        vc->stopReloading = stopReloading;
        vc->autoBrowse = autoBrowse;
        m_views << vc;
        QWidget* view = vc->getView();
        view->resize(900, 600);
        view->show();
        vc->Initialize();
        return vc;
    }
    PhotoPreview* canvasOf(TestCreateVC* vc) const
    {
        return qobject_cast<MainState*>(vc->getState())->getPhotoCanvas();
    }

    QTemporaryDir m_dir;
    QStringList m_photos;
    Zyn::TestSupport::DialogRecorder m_dialogs;
    QList<QPointer<TestCreateVC>> m_views;
};

QTEST_MAIN(TestCreateView)
#include "tst_createview.moc"
