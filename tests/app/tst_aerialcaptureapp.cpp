// End to end through the built plug-in file, as the host sees it: loaded
// with QPluginLoader, reached only through host interfaces and widgets.

#include <appcreate/CreateModelFlyout.h>
#include <appcreate/CreateViewController.h>
#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <appcreate/ProcessingService.h>
#include <dashboard/DashboardVC.h>
#include <keelcore/Dispatch.h>
#include <uibase/BaseView.h>
#include <uibase/CmdsViewController.h>
#include <uibase/CommandBase.h>
#include <uibase/FileDialog.h>
#include <uibase/IApp.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/ActionPanelVC.h>
#include <utilities/ResourceStrings.h>

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QPluginLoader>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>

#include <support/TestSupport.h>

#include <memory>

using Zyn::AppCreate::CreateModelFlyout;
using Zyn::AppCreate::CreateViewController;
using Zyn::AppCreate::MainState;
using Zyn::AppCreate::PhotoPreview;
using Zyn::AppDashboard::DashboardVC;
using Zyn::UiBase::CommandBase;
using Zyn::UiBase::IApp;
using Zyn::UiBase::TaskDialog;
using Zyn::UiToolkit::ActionPanelVC;

class TstAerialCaptureApp : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void metadataAndInterface();
    void commandsForDashboardOnly();
    void executePresentsCreateView();
    void photosWarnOncePerBatch();
    void noWarningOnceTheViewHasGone();
    void lastPhotoZoneAndStartWriteTheProject();

private:
    QStringList makePhotos(const QString& name, const QStringList& args);
    CreateViewController* openCreateView();
    PhotoPreview* canvas(CreateViewController* controller) const;
    void addPhotosAsUser(PhotoPreview* canvas, const QStringList& paths);
    int warnings() const;

    QTemporaryDir m_dir;
    QString m_pluginFile;
    std::unique_ptr<QPluginLoader> m_loader;
    IApp* m_app = nullptr;
    std::unique_ptr<DashboardVC> m_dashboard;
    QList<TaskDialog::Request> m_dialogs;
    QStringList m_gps, m_lastNone, m_zero;
};

QStringList TstAerialCaptureApp::makePhotos(const QString& name, const QStringList& args)
{
    return Zyn::TestSupport::makeDronePhotos(m_dir.filePath(name), QStringList{QStringLiteral("--alt"), QStringLiteral("95"), QStringLiteral("--lat"), QStringLiteral("47.0"), QStringLiteral("--lon"), QStringLiteral("15.0")} + args);
}

void TstAerialCaptureApp::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("ZynPhotoTests"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_aerialcaptureapp"));
    QVERIFY(m_dir.isValid());
    qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects")).toUtf8());

    const QStringList pluginDirs = QString::fromLocal8Bit(qgetenv("ZYN_PLUGIN_PATH")).split(QLatin1Char(':'));
    for (const QString& dir : pluginDirs) {
        const QString candidate = QDir(dir).filePath(QStringLiteral("libAerialCaptureApp.so"));
        if (QFile::exists(candidate))
            m_pluginFile = candidate;
    }
    QVERIFY2(!m_pluginFile.isEmpty(), "the plug-in was not built into ZYN_PLUGIN_PATH");

    m_gps = makePhotos(QStringLiteral("gps"), {"--count", "3"});
    m_lastNone = makePhotos(QStringLiteral("lastNone"), {"--count", "3", "--no-gps", "1", "--seed", "5"});
    m_zero = makePhotos(QStringLiteral("zero"), {"--count", "2", "--zero-gps", "1", "--seed", "6"});
    QCOMPARE(m_gps.size(), 3);
    QCOMPARE(m_lastNone.size(), 3);
    QCOMPARE(m_zero.size(), 2);

    m_loader.reset(new QPluginLoader(m_pluginFile));
    QVERIFY2(m_loader->load(), qPrintable(m_loader->errorString()));
    m_app = qobject_cast<IApp*>(m_loader->instance());
    QVERIFY(m_app);
}

void TstAerialCaptureApp::init()
{
    QSettings().clear();
    m_dialogs.clear();
    TaskDialog::setHandler([this](const TaskDialog::Request& r) {
        m_dialogs << r;
        return int(TaskDialog::IconButtonResult);
    });
    m_dashboard.reset(new DashboardVC);
    m_dashboard->getView()->resize(1000, 700);
    m_dashboard->getView()->show();
}

void TstAerialCaptureApp::cleanup()
{
    m_dashboard.reset();
    QVERIFY(KeelCore::waitForIdle());
    TaskDialog::clearHandler();
    Zyn::UiBase::FileDialog::clearHandler();
    CreateModelFlyout::clearTermsHandler();
}

int TstAerialCaptureApp::warnings() const
{
    return int(std::count_if(m_dialogs.begin(), m_dialogs.end(),
                             [](const TaskDialog::Request& r) {
                                 return r.kind == TaskDialog::Warning && r.mainText.contains(QLatin1String("GPS"));
                             }));
}

CreateViewController* TstAerialCaptureApp::openCreateView()
{
    const QList<CommandBase*> commands = m_app->createCommands(m_dashboard.get());
    if (commands.size() != 1)
        return nullptr;
    std::unique_ptr<CommandBase> command(commands.first());
    // Triggered as the dashboard tile does.
    command->trigger();
    auto* panel = qobject_cast<ActionPanelVC*>(m_dashboard->presentedViewController());
    return panel ? dynamic_cast<CreateViewController*>(panel->getMainViewController()) : nullptr;
}

PhotoPreview* TstAerialCaptureApp::canvas(CreateViewController* controller) const
{
    auto* state = qobject_cast<MainState*>(controller->getState());
    return state ? state->getPhotoCanvas() : nullptr;
}

void TstAerialCaptureApp::addPhotosAsUser(PhotoPreview* canvas, const QStringList& paths)
{
    Zyn::UiBase::FileDialog::setHandler([paths](const Zyn::UiBase::FileDialog::Request&) { return paths; });
    QTest::mouseClick(canvas->findChild<QPushButton*>(QStringLiteral("add_photos_button")), Qt::LeftButton);
    Zyn::UiBase::FileDialog::clearHandler();
}

void TstAerialCaptureApp::metadataAndInterface()
{
    const QJsonObject meta = m_loader->metaData();
    QCOMPARE(meta.value(QStringLiteral("IID")).toString(), QStringLiteral(ZYN_IAPP_IID));
    QCOMPARE(meta.value(QStringLiteral("className")).toString(), QStringLiteral("AerialCaptureApp"));
    // No custom metadata object.
    QVERIFY(meta.value(QStringLiteral("MetaData")).toObject().isEmpty());

    QObject* instance = m_loader->instance();
    QCOMPARE(instance, m_loader->instance());
    QCOMPARE(QString::fromLatin1(instance->metaObject()->className()), QStringLiteral("Zyn::AppCreate::AerialCaptureApp"));
    for (const char* name : {"Zyn::AppCreate::AerialCaptureApp", "UiBase::IApp", "Zyn.UiBase.IApp/1.0"})
        QVERIFY2(instance->qt_metacast(name), name);
    QVERIFY(!instance->qt_metacast("Zyn.UiBase.IOther/1.0"));
    QCOMPARE(static_cast<IApp*>(instance->qt_metacast("Zyn.UiBase.IApp/1.0")), m_app);

    // The plug-in object itself is a command without an owner.
    auto* command = qobject_cast<CommandBase*>(instance);
    QVERIFY(command);
    QVERIFY(!command->getViewController());
    QCOMPARE(command->getCommandName(), QStringLiteral("Zyn::AppCreate::AerialCaptureApp"));
    QVERIFY(!m_app->getAppDelegate());
    // Without a dashboard it has nothing to present.
    QVERIFY(!command->execute());
    QVERIFY(!m_dashboard->presentedViewController());
}

void TstAerialCaptureApp::commandsForDashboardOnly()
{
    const QList<CommandBase*> commands = m_app->createCommands(m_dashboard.get());
    QCOMPARE(commands.size(), 1);
    std::unique_ptr<CommandBase> command(commands.first());
    QVERIFY(command.get() != qobject_cast<CommandBase*>(m_loader->instance()));
    QCOMPARE(command->getViewController(), static_cast<Zyn::UiBase::CmdsViewController*>(m_dashboard.get()));
    // Every command is an application object of its own.
    QCOMPARE(command->getApp(), qobject_cast<IApp*>(command.get()));
    QVERIFY(command->getApp());
    QCOMPARE(command->objectName(), QStringLiteral("Zyn::AppCreate::AerialCaptureApp"));
    QCOMPARE(command->getCommandName(), QStringLiteral("Zyn::AppCreate::AerialCaptureApp"));
    QCOMPARE(command->text(), QString(Zyn::Resource::String::DASHBOARD_AERIALCAPTURE_TEXT));
    QCOMPARE(command->toolTip(), QString(Zyn::Resource::String::DASHBOARD_AERIALCAPTURE_TOOLTIP));
    QVERIFY(!command->icon().isNull());
    QVERIFY(command->isPaidFeature());
    QVERIFY(!command->isCheckable());
    QVERIFY(!command->isToggleCommand());
    QVERIFY(command->hasCommand(QStringLiteral("Zyn::AppCreate::AerialCaptureApp")));

    Zyn::UiBase::CmdsViewController other;
    QVERIFY(m_app->createCommands(&other).isEmpty());
    QVERIFY(m_app->createCommands(nullptr).isEmpty());

    // The dashboard shows one tile for the application.
    QCOMPARE(m_dashboard->addApp(m_app), 1);
    QCOMPARE(m_dashboard->tileCommands().size(), 1);
    QCOMPARE(m_dashboard->tileCommands().constFirst()->getCommandName(), QStringLiteral("Zyn::AppCreate::AerialCaptureApp"));
}

void TstAerialCaptureApp::executePresentsCreateView()
{
    // The plug-in object has no dashboard: it does nothing.
    auto* instance = qobject_cast<CommandBase*>(m_loader->instance());
    QVERIFY(!instance->execute());

    CreateViewController* controller = openCreateView();
    QVERIFY(controller);
    QCOMPARE(QString::fromLatin1(controller->metaObject()->className()),
             QStringLiteral("Zyn::AppCreate::AerialCreateViewController"));
    auto* panel = qobject_cast<ActionPanelVC*>(m_dashboard->presentedViewController());
    QVERIFY(!panel->hasBackButton());
    QVERIFY(panel->hasCrossButton());
    QCOMPARE(panel->getMainView(), static_cast<QWidget*>(controller->getView()));
    QVERIFY(controller->isInitialized());
    QTRY_VERIFY(controller->getQtWidget()->isVisible());
    QCOMPARE(controller->getState()->property("isAerialCaptureView").toBool(), true);

    auto* state = qobject_cast<MainState*>(controller->getState());
    QVERIFY(state->stopReloadingPhotos());
    QVERIFY(!state->autoBrowseForPhotos());
    PhotoPreview* c = canvas(controller);
    QVERIFY(c);
    QVERIFY(c->canDragNDropWidgetBeVisible());
    QVERIFY(qobject_cast<CreateModelFlyout*>(c->getFlyout()));
    QCOMPARE(c->getFlyout()->objectName(), QStringLiteral("AerialSettingsFlyout"));
    // No photo browser popped up by itself.
    QVERIFY(KeelCore::waitForIdle());
    QVERIFY(c->getFiles().isEmpty());

    // The cross closes the panel and the create view with it.
    QPointer<CreateViewController> guard(controller);
    QTest::mouseClick(panel->getView()->findChild<QToolButton*>(QStringLiteral("cross_button")), Qt::LeftButton);
    QTRY_VERIFY(guard.isNull());
    QVERIFY(!m_dashboard->presentedViewController());
}

void TstAerialCaptureApp::photosWarnOncePerBatch()
{
    CreateViewController* controller = openCreateView();
    QVERIFY(controller);
    PhotoPreview* c = canvas(controller);
    QTRY_VERIFY(c->isVisible());

    addPhotosAsUser(c, m_gps);
    QCOMPARE(c->fileCount(), 3);
    QVERIFY(KeelCore::waitForIdle());
    QCOMPARE(warnings(), 0);

    addPhotosAsUser(c, m_lastNone);
    QVERIFY(KeelCore::waitForIdle());
    QCOMPARE(warnings(), 1);
    QCOMPARE(m_dialogs.last().mainText, QStringLiteral("Some photos do not have GPS data"));
    QCOMPARE(m_dialogs.last().iconButtons.size(), 1);
    QCOMPARE(m_dialogs.last().iconButtons.constFirst().label, QStringLiteral("Continue"));

    addPhotosAsUser(c, m_zero);
    QVERIFY(KeelCore::waitForIdle());
    QCOMPARE(warnings(), 2);

    // Create: from now on the user has been told enough.
    QTest::mouseClick(c->findChild<QPushButton*>(QStringLiteral("create_button")), Qt::LeftButton);
    QTRY_VERIFY(c->getFlyout()->isVisible());
    c->removeFiles(m_zero);
    addPhotosAsUser(c, m_zero);
    QCOMPARE(c->fileCount(), 8);
    QVERIFY(KeelCore::waitForIdle());
    QCOMPARE(warnings(), 2);
}

void TstAerialCaptureApp::noWarningOnceTheViewHasGone()
{
    CreateViewController* controller = openCreateView();
    QVERIFY(controller);
    PhotoPreview* c = canvas(controller);
    QTRY_VERIFY(c->isVisible());
    addPhotosAsUser(c, m_lastNone);
    // Closed before the check reports back.
    auto* panel = qobject_cast<ActionPanelVC*>(m_dashboard->presentedViewController());
    QPointer<CreateViewController> guard(controller);
    QTest::mouseClick(panel->getView()->findChild<QToolButton*>(QStringLiteral("cross_button")), Qt::LeftButton);
    QTRY_VERIFY(guard.isNull());
    QVERIFY(KeelCore::waitForIdle());
    QCOMPARE(warnings(), 0);
}

void TstAerialCaptureApp::lastPhotoZoneAndStartWriteTheProject()
{
    CreateModelFlyout::setTermsHandler([](const QString&) { return true; });
    CreateViewController* controller = openCreateView();
    QVERIFY(controller);
    PhotoPreview* c = canvas(controller);
    QTRY_VERIFY(c->isVisible());
    addPhotosAsUser(c, m_gps);
    QVERIFY(KeelCore::waitForIdle());

    QTest::mouseClick(c->findChild<QPushButton*>(QStringLiteral("create_button")), Qt::LeftButton);
    auto* flyout = qobject_cast<CreateModelFlyout*>(c->getFlyout());
    QTRY_VERIFY(flyout->isVisible());
    bool mesh = false, pointCloud = false, orthoMap = false;
    float pixel = 0;
    QString code;
    // The catalogue loads in the background; the default follows once it is in.
    QTRY_VERIFY_WITH_TIMEOUT((flyout->GetSettings(mesh, pointCloud, orthoMap, pixel, code),
                              code == QStringLiteral("EPSG:32633")),
                             60000);

    QTest::keyClicks(flyout->findChild<QLineEdit*>(QStringLiteral("modelname_lineedit")), QStringLiteral("Graz_block-1"));
    auto* qxs = flyout->findChild<QCheckBox*>(QStringLiteral("qxs_checkBox"));
    auto* ortho = flyout->findChild<QCheckBox*>(QStringLiteral("orthomap_checkBox"));
    QTest::mouseClick(qxs, Qt::LeftButton, {}, QPoint(6, qxs->height() / 2));
    QTest::mouseClick(ortho, Qt::LeftButton, {}, QPoint(6, ortho->height() / 2));
    auto* spin = flyout->findChild<QSpinBox*>(QStringLiteral("upp_spinBox"));
    spin->setFocus();
    spin->selectAll();
    QTest::keyClicks(spin, QStringLiteral("5"));

    QSignalSpy submitted(controller, &CreateViewController::projectSubmitted);
    QTest::mouseClick(flyout->findChild<QPushButton*>(QStringLiteral("start_button")), Qt::LeftButton);
    QVERIFY(submitted.count() == 1 || submitted.wait(30000));
    QCOMPARE(warnings(), 0);
    QVERIFY(m_dialogs.isEmpty());

    const QString folder = submitted.constFirst().constFirst().toString();
    QFile file(QDir(folder).filePath(Zyn::AppCreate::ProcessingService::manifestFileName()));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject manifest = QJsonDocument::fromJson(file.readAll()).object();
    QCOMPARE(manifest.value("name").toString(), QStringLiteral("Graz_block-1"));
    const QJsonObject outputs = manifest.value("outputs").toObject();
    QCOMPARE(outputs.value("mesh").toBool(), true);
    QCOMPARE(outputs.value("pointCloud").toBool(), true);
    QCOMPARE(outputs.value("orthoMap").toBool(), true);
    QCOMPARE(manifest.value("pixelSizeMeters").toDouble(), 0.05);
    QCOMPARE(manifest.value("coordinateSystem").toObject().value("code").toString(), QStringLiteral("EPSG:32633"));
    const QJsonArray photos = manifest.value("photos").toArray();
    QCOMPARE(photos.size(), m_gps.size());
    QStringList written;
    for (const QJsonValue& p : photos)
        written << p.toObject().value("path").toString();
    QCOMPARE(written, m_gps);
    // Accepted: the flyout is gone and its name field ready for the next project.
    QVERIFY(!flyout->isVisible());
    QVERIFY(flyout->findChild<QLineEdit*>(QStringLiteral("modelname_lineedit"))->text().isEmpty());
}

QTEST_MAIN(TstAerialCaptureApp)
#include "tst_aerialcaptureapp.moc"
