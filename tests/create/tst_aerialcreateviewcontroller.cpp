// The aerial create view with real synthetic drone photos, in a panel over
// a window as the user meets it: which items it accepts, the GPS warning per
// batch, the default coordinate system taken from the last selected photo,
// where the settings flyout sits and what closing the panel does with the
// photos added.

#include <create/AerialCreateViewController.h>

#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <appcreate/SCloudFile.h>
#include <coordsys/CoordSysDialog.h>
#include <coordsys/CoordSysSelector.h>
#include <keelcore/Dispatch.h>
#include <uibase/BaseView.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/ActionPanelVC.h>
#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/LocalImageFileItem.h>
#include <uitoolkit/ThumbnailProxyModel.h>

#include <QtTest>
#include <QtWidgets>

#include <support/TestSupport.h>

using namespace Zyn::AppCreate;
using namespace Zyn::UiBase;
using namespace Zyn::UiToolkit;

namespace {

// An item of another kind, as a cloud file would be.
class OtherItem : public IThumbnailItem {
public:
    QString path() const override { return QStringLiteral("cloud:123"); }
    QString displayName() const override { return QStringLiteral("remote"); }
    State state() const override { return Ready; }
    QImage thumbnail() const override { return QImage(); }
    void requestThumbnail(Priority) override {}
};

} // namespace

class TstAerialCreateViewController : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Zyn::TestSupport::isolateSettings(QStringLiteral("tst_aerialcreateviewcontroller"));
        QVERIFY(m_dir.isValid());
        qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects")).toUtf8());
        const QString north = QStringLiteral("--lat 47.0 --lon 15.0");
        m_sets["gps"] = makePhotos("gps", north + " --count 3");
        m_sets["lastNone"] = makePhotos("lastNone", north + " --count 4 --no-gps 1 --seed 2");
        m_sets["zero"] = makePhotos("zero", north + " --count 2 --zero-gps 2 --seed 3");
        m_sets["south"] = makePhotos("south", "--lat -33.4 --lon -70.6 --count 2 --seed 4");
        for (const QString& set : m_sets.keys())
            QVERIFY2(!photos(set).isEmpty(), qPrintable(set));
        m_window.getView()->resize(1000, 700);
        m_window.getView()->show();
    }
    void init()
    {
        QSettings().clear();
        m_dialogs.record(TaskDialog::IconButtonResult);
        m_controller = new AerialCreateViewController;
        m_panel = new ActionPanelVC;
        m_controller->getView(); // the host takes the view first
        m_controller->Initialize();
        m_panel->setMainView(m_controller->getView());
        m_window.presentViewController(m_panel, 0);
        // Every set names its photos AX20_0001...; in the order added, "last"
        // is the photo added last.
        canvas()->proxyModel()->setSortMode(ThumbnailProxyModel::AsAdded);
    }
    void cleanup()
    {
        // The panel owns the controller.
        if (m_panel && m_panel->presentingViewController())
            m_panel->dismissViewController();
        delete m_panel.data();
        delete AerialCreateViewController::takeKeptPanel();
        QVERIFY(KeelCore::waitForIdle());
        m_dialogs.stop();
    }

    void acceptsLocalImageItemsOnly()
    {
        const QString path = photos(QStringLiteral("gps")).constFirst();
        const auto item = m_controller->createThumbnailItem(SCloudFile::fromLocalPath(path));
        QVERIFY(qobject_cast<LocalImageFileItem*>(item.data()));
        QCOMPARE(item->path(), path);
        QVERIFY(!item->parent());
        QVERIFY(m_controller->validateThumbnailItem(item));

        QVERIFY(!m_controller->validateThumbnailItem({}));
        QVERIFY(!m_controller->validateThumbnailItem(QSharedPointer<IThumbnailItem>(new OtherItem)));
    }
    void warnsOncePerBatchWithoutGps_data()
    {
        QTest::addColumn<QString>("set");
        QTest::addColumn<int>("expected");
        QTest::newRow("all have GPS") << "gps" << 0;
        QTest::newRow("only the last lacks GPS") << "lastNone" << 1;
        QTest::newRow("all-zero GPS tags") << "zero" << 1;
        QTest::newRow("empty batch") << "" << 0;
        QTest::newRow("missing file") << "missing" << 1;
    }
    void warnsOncePerBatchWithoutGps()
    {
        QFETCH(QString, set);
        QFETCH(int, expected);
        if (set.isEmpty())
            m_controller->onLocalPhotosAdded({});
        else if (set == QLatin1String("missing"))
            m_controller->onLocalPhotosAdded({m_dir.filePath(QStringLiteral("gone.jpg"))});
        else
            QCOMPARE(canvas()->addFiles(photos(set)).size(), photos(set).size());
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(warnings(), expected);
        QCOMPARE(m_dialogs.size(), expected);
        if (!expected)
            return;
        const TaskDialog::Request& r = m_dialogs.constFirst();
        QCOMPARE(r.mainText, QStringLiteral("Some photos do not have GPS data"));
        QCOMPARE(r.secondaryText, QStringLiteral("The output will not be geolocated."));
        QCOMPARE(r.buttonSet, int(TaskDialog::IconButtonsOnly));
        QCOMPARE(r.iconButtons.size(), 1);
        QCOMPARE(r.iconButtons.constFirst().icon, QStringLiteral(":/resources/images/sys_message_box_button_yes.png"));
        QCOMPARE(r.iconButtons.constFirst().label, QStringLiteral("Continue"));
        QCOMPARE(r.parent.data(), m_controller->getQtWidget());
    }
    void noWarningAfterViewDisappearsOrIsHidden()
    {
        // Hidden view: the check runs but nobody is warned.
        m_controller->getView()->hide();
        canvas()->addFiles(photos(QStringLiteral("zero")));
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(warnings(), 0);
        // The flag is untouched by hiding: visible again, the next batch warns.
        m_controller->getView()->show();
        m_controller->onLocalPhotosAdded(photos(QStringLiteral("zero")));
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(warnings(), 1);

        // Disappearing clears it for good, even when the check finishes later.
        m_controller->onLocalPhotosAdded(photos(QStringLiteral("lastNone")));
        m_controller->viewWillDisappear();
        QVERIFY(KeelCore::waitForIdle());
        m_controller->onLocalPhotosAdded(photos(QStringLiteral("lastNone")));
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(warnings(), 1);
    }
    void defaultCoordSysFromLastIncludedPhoto_data()
    {
        QTest::addColumn<QStringList>("sets"); // added in turn, the zone asked for after each
        QTest::addColumn<QString>("excluded");
        QTest::addColumn<QString>("zone"); // empty: none proposed
        QTest::newRow("no photos") << QStringList() << "" << "";
        QTest::newRow("north") << QStringList{"gps"} << "" << "EPSG:32633";
        QTest::newRow("south added last") << QStringList{"gps", "south"} << "" << "EPSG:32719";
        QTest::newRow("excluded photos do not count") << QStringList{"gps", "south"} << "south" << "EPSG:32633";
        QTest::newRow("last without GPS keeps the earlier") << QStringList{"gps", "lastNone"} << "" << "EPSG:32633";
    }
    void defaultCoordSysFromLastIncludedPhoto()
    {
        QFETCH(QStringList, sets);
        QFETCH(QString, excluded);
        QFETCH(QString, zone);
        QTRY_VERIFY_WITH_TIMEOUT(!selector()->dialog()->isLoading(), 60000);
        for (const QString& set : sets) {
            canvas()->addFiles(photos(set));
            m_controller->getCoordSysFromLastImage();
        }
        for (const QString& p : photos(excluded))
            canvas()->setFileSelected(p, false);
        // Nothing is said when the last photo has no GPS.
        QVERIFY(KeelCore::waitForIdle());
        m_dialogs.clear();
        m_controller->getCoordSysFromLastImage();
        QVERIFY(m_dialogs.isEmpty());
        QCOMPARE(selector()->defaultGpsCoordSys().code, zone);
    }
    void flyoutStaysBesideTheCanvas_data()
    {
        QTest::addColumn<QSize>("window");
        QTest::newRow("wide") << QSize(1400, 900);
        QTest::newRow("narrow") << QSize(760, 560);
        QTest::newRow("low") << QSize(1200, 480);
    }
    void flyoutStaysBesideTheCanvas()
    {
        QFETCH(QSize, window);
        QCOMPARE(canvas()->addFiles(photos(QStringLiteral("gps"))).size(), 3);
        QTest::mouseClick(canvas()->findChild<QPushButton*>(QStringLiteral("create_button")), Qt::LeftButton);
        QDialog* flyout = canvas()->getFlyout();
        QTRY_VERIFY(flyout->isVisible());
        // Part of the window, not a window of its own with a second close button.
        QVERIFY(!flyout->isWindow());
        m_window.getView()->resize(window);
        QTRY_COMPARE(m_panel->getQtWidget()->size(), window);
        QTRY_VERIFY(inWindow(canvas()).right() < inWindow(flyout).left());
        const QRect panel = inWindow(flyout);
        QVERIFY(QRect(QPoint(0, 0), window).contains(panel));
        for (const char* name : {"create_button", "count_label"}) {
            const QWidget* w = canvas()->findChild<QWidget*>(QLatin1String(name));
            QVERIFY2(!panel.intersects(inWindow(w)), name);
            QVERIFY2(w->isVisible(), name);
        }
        // Its own close button takes it away and gives the canvas its room back.
        QTest::mouseClick(flyout->findChild<QToolButton*>(QStringLiteral("close_toolButton")), Qt::LeftButton);
        QVERIFY(!flyout->isVisible());
        QTRY_COMPARE(inWindow(canvas()).right(), inWindow(m_panel->getMainView()).right());
    }
    void closingAsksBeforeDiscardingPhotos_data()
    {
        QTest::addColumn<int>("photos");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("closed");
        QTest::addColumn<bool>("kept");
        QTest::newRow("no photos: closes without asking") << 0 << -1 << true << false;
        QTest::newRow("discard") << 3 << int(TaskDialog::IconButtonResult) << true << false;
        QTest::newRow("keep for later") << 3 << int(TaskDialog::IconButtonResult + 1) << true << true;
        QTest::newRow("cancel") << 2 << int(TaskDialog::IconButtonResult + 2) << false << false;
        QTest::newRow("dialog closed") << 1 << int(TaskDialog::Rejected) << false << false;
    }
    void closingAsksBeforeDiscardingPhotos()
    {
        QFETCH(int, photos);
        QFETCH(int, answer);
        QFETCH(bool, closed);
        QFETCH(bool, kept);
        const QStringList added = this->photos(QStringLiteral("gps")).mid(0, photos);
        canvas()->addFiles(added);
        canvas()->setFileSelected(added.value(0), false);
        QVERIFY(KeelCore::waitForIdle());
        m_dialogs.clear();
        m_dialogs.answer = answer;
        QTest::mouseClick(m_panel->getQtWidget()->findChild<QToolButton*>("cross_button"), Qt::LeftButton);
        if (photos == 0) {
            QVERIFY(m_dialogs.isEmpty());
        } else {
            QCOMPARE(m_dialogs.size(), 1);
            const TaskDialog::Request& r = m_dialogs.first();
            const QString which = photos == 1 ? QStringLiteral("the photo") : QString("the %1 photos").arg(photos);
            QCOMPARE(r.mainText, QString("Discard %1 and settings of this project?").arg(which));
            QCOMPARE(r.iconButtons.size(), 3);
            QCOMPARE(r.iconButtons.at(1).label, QString("Keep for later"));
        }
        QCOMPARE(m_panel && m_panel->presentingViewController() == &m_window, !closed);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        // Discarded panels are gone with their photos; kept ones wait, photos,
        // inclusion and all, for the next opening in this session.
        QCOMPARE(m_panel.isNull(), closed && !kept);
        BaseViewController* next = AerialCreateViewController::takeKeptPanel();
        QCOMPARE(next, kept ? m_panel.data() : nullptr);
        if (kept) {
            m_window.presentViewController(next, 0);
            QVERIFY(m_panel->getQtWidget()->isVisible());
            QCOMPARE(canvas()->getFiles(), added);
            QCOMPARE(canvas()->getSelectedFiles(), added.mid(1));
            QVERIFY(!AerialCreateViewController::takeKeptPanel());
        }
    }

private:
    QStringList makePhotos(const QString& name, const QString& args)
    {
        return Zyn::TestSupport::makeDronePhotos(m_dir.filePath(name), ("--alt 120 " + args).split(' '));
    }
    QStringList photos(const QString& name) const { return m_sets.value(name); }
    PhotoPreview* canvas() const { return qobject_cast<MainState*>(m_controller->getState())->getPhotoCanvas(); }
    CoordSysSelector* selector() const
    {
        return canvas()->getFlyout()->findChild<CoordSysSelector*>(QStringLiteral("coord_sys_selector"));
    }
    QRect inWindow(const QWidget* w) { return QRect(w->mapTo(m_window.getView(), QPoint(0, 0)), w->size()); }
    int warnings() const
    {
        return int(std::count_if(m_dialogs.begin(), m_dialogs.end(),
                                 [](const TaskDialog::Request& r) { return r.kind == TaskDialog::Warning; }));
    }

    QTemporaryDir m_dir;
    QHash<QString, QStringList> m_sets;
    BaseViewController m_window;
    QPointer<ActionPanelVC> m_panel;
    QPointer<AerialCreateViewController> m_controller;
    Zyn::TestSupport::DialogRecorder m_dialogs;
};

QTEST_MAIN(TstAerialCreateViewController)
#include "tst_aerialcreateviewcontroller.moc"
