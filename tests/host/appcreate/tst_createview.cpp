// The create view base and its flyout base, driven as an application and a user drive them.
#include "TestPhotos.h"

#include <appcreate/CreateModelFlyout.h>
#include <appcreate/CreateViewController.h>
#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <appcreate/PhotoSceneData.h>
#include <appcreate/ProcessingService.h>
#include <keelcore/Dispatch.h>
#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <uibase/FileDialog.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/LocalImageFileItem.h>
#include <utilities/Constants.h>

#include <QtTest>
#include <QtWidgets>

#include <tuple>

#include <support/TestSupport.h>

using namespace Zyn::AppCreate;
using Zyn::UiBase::TaskDialog;
namespace U = Zyn::Utilities;

namespace {

// A settings flyout whose answers the test chooses, standing in for an
// application's own flyout.
class TestFlyout : public CreateModelFlyout {
    Q_OBJECT
public:
    using CreateModelFlyout::CreateModelFlyout;

    void GetSettings(bool& mesh, bool& pointCloud, bool& orthoMap, float& pixelSizeMeters,
                     QString& coordSysId) const override
    {
        std::tie(mesh, pointCloud, orthoMap, pixelSizeMeters, coordSysId) = settings;
    }

    void setModelName(const QString& name) { m_modelName = name; }

    // Mesh, point cloud, ortho map, pixel size in metres, coordinate system.
    std::tuple<bool, bool, bool, float, QString> settings{true, false, false, 0.01f, QStringLiteral("LL84")};
};

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
        QVERIFY(m_dir.isValid());
        Zyn::TestSupport::isolateSettings(QStringLiteral("tst_appcreate_createview"), m_dir.path());
        QVERIFY(QDir().mkpath(m_dir.filePath(QStringLiteral("photos"))));
        for (int i = 0; i < 30; ++i) {
            const QString path = m_dir.filePath(QStringLiteral("photos/IMG_%1.jpg").arg(i));
            QVERIFY(i < 3 ? TestPhotos::writeWithGps(path, {46.5 + i * 0.001, 7.9, 1500}, i)
                          : TestPhotos::writePlain(path, i));
            (i < 3 ? m_photos : m_more) << path;
        }
    }
    void init()
    {
        static int n = 0;
        qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects%1").arg(++n)).toUtf8());
        QSettings().clear();
        configure({}, {}, {});
        m_dialogs.record();
        m_answers.clear();
        Zyn::UiBase::FileDialog::setHandler([](const Zyn::UiBase::FileDialog::Request&) { return QStringList(); });
    }
    void cleanup()
    {
        qDeleteAll(m_views);
        m_views.clear();
        QVERIFY(KeelCore::waitForIdle());
        m_dialogs.stop();
        Zyn::UiBase::FileDialog::clearHandler();
        CreateModelFlyout::clearTermsHandler();
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
        QCOMPARE(vc->centralWidget(CreateViewController::CentralCanvas), static_cast<QWidget*>(canvas));
        QVERIFY(vc->getView()->isAncestorOf(canvas));
        // Installing the canvas again is harmless.
        vc->setCentralWidget(CreateViewController::CentralCanvas, canvas);
        QCOMPARE(vc->centralWidget(CreateViewController::CentralCanvas), static_cast<QWidget*>(canvas));

        // The application's command shows in the command bar.
        QVERIFY(vc->getView()->findChild<QToolButton*>(QStringLiteral("cmd_ExtraCommand")));
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

        canvas->removeFiles({m_photos.at(0)});
        QCOMPARE(observer.lists.last(), m_photos.mid(1));
    }
    void createFlowWritesTheProjectWithTheFlyoutSettings()
    {
        TestCreateVC* vc = makeView();
        PhotoPreview* canvas = canvasOf(vc);
        canvas->addFiles(m_photos);
        canvas->setFileSelected(m_photos.at(1), false);

        TestFlyout* flyout = vc->flyout;
        flyout->settings = {true, true, false, 0.05f, QStringLiteral("EPSG:32633")};
        flyout->setModelName(QStringLiteral("Flow_1"));

        auto* create = canvas->findChild<QPushButton*>(QStringLiteral("create_button"));
        QVERIFY(create && create->isEnabled());
        QTest::mouseClick(create, Qt::LeftButton);
        QCOMPARE(vc->calls, QStringList({"create", "coordsys"}));
        QCOMPARE(vc->filesAtCoordSys, QStringList({m_photos.at(0), m_photos.at(2)}));
        QVERIFY(flyout->isVisible());

        QSignalSpy submitted(vc, &CreateViewController::projectSubmitted);
        flyout->accept();
        QCOMPARE(submitted.count(), 1);
        const QString folder = submitted.at(0).at(0).toString();
        QCOMPARE(folder, ProcessingService::projectsDirectory() + QStringLiteral("/Flow_1"));

        // The flyout's choices and the included photos reach the project (the
        // manifest's full form is the service's test).
        const QJsonObject m = QJsonDocument::fromJson(Zyn::TestSupport::readFile(folder + "/project.json")).object();
        QCOMPARE(m.value("outputs").toObject().value("pointCloud").toBool(), true);
        QCOMPARE(m.value("pixelSizeMeters").toDouble(), 0.05);
        QCOMPARE(m.value("coordinateSystem").toObject().value("code").toString(), QStringLiteral("EPSG:32633"));
        QCOMPARE(m.value("photos").toArray().at(1).toObject().value("path").toString(), m_photos.at(2));
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
        canvasOf(makeView(false))->addFiles(m_photos.mid(0, 2));
        TestCreateVC* reloading = makeView(false);
        QCOMPARE(canvasOf(reloading)->getFiles(), m_photos.mid(0, 2));
        QVERIFY(canvasOf(makeView(true))->getFiles().isEmpty());

        // Photos deleted since then are left out, quietly.
        QFile::copy(m_photos.at(2), m_dir.filePath(QStringLiteral("temp.jpg")));
        canvasOf(reloading)->addFiles({m_dir.filePath(QStringLiteral("temp.jpg"))});
        QVERIFY(QFile::remove(m_dir.filePath(QStringLiteral("temp.jpg"))));
        QCOMPARE(canvasOf(makeView(false))->getFiles(), m_photos.mid(0, 2));
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

        makeView(true, false)->viewDidAppear();
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(asked, 1);
    }
    void thumbnailItemsAreLocalPhotosOnly()
    {
        TestCreateVC* vc = makeView();
        QVERIFY(!vc->validateThumbnailItem({}));
        QVERIFY(vc->createThumbnailItem(SCloudFile{QStringLiteral("cloud://abc"), {}, 0, false}).isNull()); // remote

        const SCloudFile local = SCloudFile::fromLocalPath(m_photos.at(0));
        QCOMPARE(local.name, QStringLiteral("IMG_0.jpg"));
        QVERIFY(local.size > 0);
        const auto item = vc->createThumbnailItem(local);
        QVERIFY(qobject_cast<Zyn::UiToolkit::LocalImageFileItem*>(item.data()));
        QCOMPARE(item->path(), m_photos.at(0));
        QVERIFY(vc->validateThumbnailItem(item));
        QVERIFY(!vc->validateThumbnailItem(QSharedPointer<Zyn::UiToolkit::IThumbnailItem>(new OtherItem)));
    }
    void termsAcceptedOnceAndRemembered()
    {
        MainState state;
        TestFlyout flyout(state, nullptr);
        QVERIFY(!flyout.HasUserAcceptedTermsAndConditions());

        // Declining, and the real dialog, are realTermsDialog's rows.
        QStringList shown;
        CreateModelFlyout::setTermsHandler([&shown](const QString& text) {
            shown << text;
            return true;
        });
        QVERIFY(flyout.AskUserToAcceptTermsAndConditions());
        QCOMPARE(shown.size(), 1);
        QVERIFY(shown.at(0).contains(QStringLiteral("Terms and conditions")));

        // Remembered in the settings, for every later flyout.
        TestFlyout later(state, nullptr);
        QVERIFY(later.HasUserAcceptedTermsAndConditions());
        QSettings settings;
        const QString key = QLatin1String(U::CFG_ELEM_GENERAL) + '/' + QLatin1String(U::CFG_ELEM_TERMS_ACCEPTED);
        QCOMPARE(settings.value(key).toBool(), true);

        // A value that is not a yes counts as not accepted.
        settings.setValue(key, QStringLiteral("garbage"));
        QVERIFY(!later.HasUserAcceptedTermsAndConditions());
    }
    void realTermsDialog_data()
    {
        QTest::addColumn<QVariant>("account");
        QTest::addColumn<bool>("accept");
        QTest::newRow("credit account accepts") << QVariant(0) << true;
        QTest::newRow("self-hosted account declines") << QVariant(1) << false;
    }
    void realTermsDialog()
    {
        QFETCH(QVariant, account);
        QFETCH(bool, accept);
        configure(account, {}, {});
        MainState state;
        TestFlyout flyout(state, nullptr);
        bool acceptWasDisabled = false;
        Zyn::TestSupport::whenModalShown<QDialog>([&](QDialog* dialog) {
            auto* button = dialog->findChild<QPushButton*>(accept ? "terms_accept_button" : "terms_decline_button");
            auto* check = dialog->findChild<QCheckBox*>(QStringLiteral("terms_checkBox"));
            auto* text = dialog->findChild<QTextBrowser*>(QStringLiteral("terms_textBrowser"));
            QVERIFY(button && check && text);
            // Credits are promised only to an account that pays with them.
            QCOMPARE(text->toPlainText().contains(QStringLiteral("cloud credits")), account.toInt() == 0);
            acceptWasDisabled = !dialog->findChild<QPushButton*>("terms_accept_button")->isEnabled();
            QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(5, check->height() / 2));
            QTest::mouseClick(button, Qt::LeftButton);
        });
        QCOMPARE(flyout.AskUserToAcceptTermsAndConditions(), accept);
        QVERIFY(acceptWasDisabled);
        QCOMPARE(flyout.HasUserAcceptedTermsAndConditions(), accept);
    }
    void entitlementDecidesWhetherToProcess_data()
    {
        QTest::addColumn<QVariant>("type");
        QTest::addColumn<QString>("pools");
        QTest::addColumn<int>("per100");
        QTest::addColumn<QString>("refusal"); // secondary text; empty: may process
        QTest::newRow("self-hosted, no account configured") << QVariant() << QString() << 10 << QString();
        // 30 photos at 10 per 100: 3 credits; the pool of 20 covers it.
        QTest::newRow("one pool covers") << QVariant(0) << "2,20" << 10 << QString();
        // 30 photos at 100 per 100: 30 credits; pools of 20 and 15 do not add up.
        QTest::newRow("pools do not add up") << QVariant(0) << "20,15" << 100
                                             << "This project needs 30 cloud credits; 20 are available.";
    }
    void entitlementDecidesWhetherToProcess()
    {
        QFETCH(QVariant, type);
        QFETCH(QString, pools);
        QFETCH(int, per100);
        QFETCH(QString, refusal);
        MainState state;
        PhotoPreview canvas;
        state.setPhotoCanvas(&canvas);
        QCOMPARE(canvas.addFiles(m_photos + m_more).size(), 30);
        TestFlyout flyout(state, nullptr);
        flyout.setModelName(QStringLiteral("Credits"));
        configure(type, pools.isEmpty() ? QVariant() : pools, per100);
        ask(flyout);
        QTRY_COMPARE(m_answers.size(), 1);
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(m_answers, QStringList{refusal.isEmpty() ? "yes" : "no"});
        QCOMPARE(m_dialogs.size(), refusal.isEmpty() ? 0 : 1);
        if (!refusal.isEmpty()) {
            QCOMPARE(m_dialogs.at(0).mainText, QStringLiteral("Not enough cloud credits."));
            QCOMPARE(m_dialogs.at(0).secondaryText, refusal);
        }
    }
    void takenOrInvalidNameIsRefusedAtOnce()
    {
        QVERIFY(QDir().mkpath(ProcessingService::projectsDirectory() + QStringLiteral("/Existing")));
        MainState state;
        TestFlyout flyout(state, nullptr);
        flyout.setModelName(QStringLiteral("Existing"));
        ask(flyout);
        // Answered before returning: the dialog is still open with the name.
        QCOMPARE(m_answers, QStringList{"no"});
        QCOMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs.at(0).mainText, QStringLiteral("The project cannot be created."));
        QCOMPARE(m_dialogs.at(0).secondaryText, ProcessingService::projectExistsText(QStringLiteral("Existing")));

        flyout.setModelName(QStringLiteral(".hidden"));
        ask(flyout);
        QCOMPARE(m_answers, QStringList({"no", "no"}));
        QCOMPARE(m_dialogs.size(), 2);
    }

private:
    // Asks the flyout whether to process; its answers land in m_answers, marked when off the GUI thread.
    void ask(CreateModelFlyout& flyout)
    {
        flyout.validateEntitlement([this](bool ok) {
            const bool onGui = QThread::currentThread() == qApp->thread();
            m_answers << QString(ok ? "yes" : "no") + (onGui ? "" : " (worker thread)");
        });
    }
    void configure(const QVariant& type, const QVariant& credits, const QVariant& per100)
    {
        Zyn::Services::ConfigManager* config = Zyn::Services::ApplicationService::GetInstance()->GetConfigManager();
        const QList<QPair<const char*, QVariant>> values{{U::CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE, type},
                                                         {U::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS, credits},
                                                         {U::CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS, per100}};
        for (const auto& v : values) {
            if (v.second.isValid())
                config->setValue(QLatin1String(v.first), v.second);
            else
                config->remove(QLatin1String(v.first));
        }
    }

    TestCreateVC* makeView(bool stopReloading = true, bool autoBrowse = false)
    {
        auto* vc = new TestCreateVC;
        vc->stopReloading = stopReloading;
        vc->autoBrowse = autoBrowse;
        m_views << vc;
        vc->getView()->resize(900, 600);
        vc->getView()->show();
        vc->Initialize();
        return vc;
    }
    PhotoPreview* canvasOf(TestCreateVC* vc) const
    {
        return qobject_cast<MainState*>(vc->getState())->getPhotoCanvas();
    }

    QTemporaryDir m_dir;
    QStringList m_photos; // with GPS
    QStringList m_more;   // without, 30 in all
    Zyn::TestSupport::DialogRecorder m_dialogs;
    QStringList m_answers;
    QList<QPointer<TestCreateVC>> m_views;
};

QTEST_MAIN(TestCreateView)
#include "tst_createview.moc"
