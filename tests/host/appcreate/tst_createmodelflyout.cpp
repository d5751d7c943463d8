// The flyout base: terms accepted once and remembered (through the seam
// and through the real dialog), and the entitlement check for self-hosted
// and credit accounts and for names already taken.
#include "GpsJpeg.h"
#include "TestFlyout.h"

#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <appcreate/ProcessingService.h>
#include <keelcore/Dispatch.h>
#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <uibase/TaskDialog.h>
#include <utilities/Constants.h>

#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QThread>
#include <QTimer>
#include <QtTest>

using namespace Zyn::AppCreate;
using Zyn::UiBase::TaskDialog;
namespace U = Zyn::Utilities;

class TestCreateModelFlyout : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void termsAcceptedOnceAndRemembered();
    void realTermsDialogNeedsTheCheckBox();
    void realTermsDialogDeclined();
    void selfHostedAccountMayAlwaysProcess();
    void creditAccountNeedsOnePoolThatCoversTheProject();
    void takenOrInvalidNameIsRefusedAtOnce();

private:
    // Answers the entitlement check for the flyout: {called, answer, on GUI thread}.
    struct Answer {
        int calls = 0;
        bool ok = false;
        bool onGuiThread = false;
    };
    void askEntitlement(CreateModelFlyout& flyout, Answer& answer);
    void configure(const QVariant& type, const QVariant& credits, const QVariant& per100);

    QTemporaryDir m_dir;
    QStringList m_photos;
    QList<TaskDialog::Request> m_dialogs;
};

void TestCreateModelFlyout::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid());
    qputenv("ZYN_CONFIG_FILE", m_dir.filePath(QStringLiteral("zynphoto.ini")).toUtf8());
    qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects")).toUtf8());
    for (int i = 0; i < 30; ++i) {
        const QString path = m_dir.filePath(QStringLiteral("photos/P%1.jpg").arg(i));
        QDir().mkpath(QFileInfo(path).path());
        QVERIFY(GpsJpeg::writePlain(path, i));
        m_photos << path;
    }
}

void TestCreateModelFlyout::init()
{
    QSettings().clear();
    m_dialogs.clear();
    TaskDialog::setHandler([this](const TaskDialog::Request& r) {
        m_dialogs << r;
        return int(TaskDialog::Ok);
    });
    configure({}, {}, {});
}

void TestCreateModelFlyout::cleanup()
{
    QVERIFY(KeelCore::waitForIdle());
    TaskDialog::clearHandler();
    CreateModelFlyout::clearTermsHandler();
}

void TestCreateModelFlyout::configure(const QVariant& type, const QVariant& credits, const QVariant& per100)
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

void TestCreateModelFlyout::askEntitlement(CreateModelFlyout& flyout, Answer& answer)
{
    flyout.validateEntitlement([&answer](bool ok) {
        ++answer.calls;
        answer.ok = ok;
        answer.onGuiThread = QThread::currentThread() == qApp->thread();
    });
    QTRY_COMPARE(answer.calls, 1);
    QVERIFY(KeelCore::waitForIdle());
    QCOMPARE(answer.calls, 1);
}

void TestCreateModelFlyout::termsAcceptedOnceAndRemembered()
{
    MainState state;
    TestFlyout flyout(state, nullptr);
    QVERIFY(!flyout.HasUserAcceptedTermsAndConditions());

    QStringList shown;
    bool answer = false;
    CreateModelFlyout::setTermsHandler([&shown, &answer](const QString& text) {
        shown << text;
        return answer;
    });
    QVERIFY(!flyout.AskUserToAcceptTermsAndConditions());
    QVERIFY(!flyout.HasUserAcceptedTermsAndConditions());
    QCOMPARE(shown.size(), 1);
    QVERIFY(shown.at(0).contains(QStringLiteral("Terms and conditions")));

    answer = true;
    QVERIFY(flyout.AskUserToAcceptTermsAndConditions());
    QVERIFY(flyout.HasUserAcceptedTermsAndConditions());

    // Remembered in the settings, for every later flyout.
    TestFlyout later(state, nullptr);
    QVERIFY(later.HasUserAcceptedTermsAndConditions());
    QSettings settings;
    settings.beginGroup(QLatin1String(U::CFG_ELEM_GENERAL));
    QCOMPARE(settings.value(QLatin1String(U::CFG_ELEM_TERMS_ACCEPTED)).toBool(), true);
    settings.endGroup();

    // A value that is not a yes counts as not accepted.
    settings.setValue(QStringLiteral("%1/%2").arg(QLatin1String(U::CFG_ELEM_GENERAL), QLatin1String(U::CFG_ELEM_TERMS_ACCEPTED)),
                      QStringLiteral("garbage"));
    QVERIFY(!later.HasUserAcceptedTermsAndConditions());
}

void TestCreateModelFlyout::realTermsDialogNeedsTheCheckBox()
{
    MainState state;
    TestFlyout flyout(state, nullptr);
    bool acceptWasDisabled = false;
    bool textShown = false;
    QTimer::singleShot(0, this, [&] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        QCOMPARE(dialog->objectName(), QStringLiteral("terms_dialog"));
        auto* accept = dialog->findChild<QPushButton*>(QStringLiteral("terms_accept_button"));
        auto* check = dialog->findChild<QCheckBox*>(QStringLiteral("terms_checkBox"));
        auto* text = dialog->findChild<QTextBrowser*>(QStringLiteral("terms_textBrowser"));
        QVERIFY(accept && check && text);
        textShown = text->toPlainText().contains(QStringLiteral("cloud credits"));
        acceptWasDisabled = !accept->isEnabled();
        QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(5, check->height() / 2));
        QVERIFY(accept->isEnabled());
        QTest::mouseClick(accept, Qt::LeftButton);
    });
    QVERIFY(flyout.AskUserToAcceptTermsAndConditions());
    QVERIFY(acceptWasDisabled);
    QVERIFY(textShown);
    QVERIFY(flyout.HasUserAcceptedTermsAndConditions());
}

void TestCreateModelFlyout::realTermsDialogDeclined()
{
    MainState state;
    TestFlyout flyout(state, nullptr);
    QTimer::singleShot(0, this, [] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        auto* decline = dialog->findChild<QPushButton*>(QStringLiteral("terms_decline_button"));
        QVERIFY(decline);
        QTest::mouseClick(decline, Qt::LeftButton);
    });
    QVERIFY(!flyout.AskUserToAcceptTermsAndConditions());
    QVERIFY(!flyout.HasUserAcceptedTermsAndConditions());
}

void TestCreateModelFlyout::selfHostedAccountMayAlwaysProcess()
{
    MainState state;
    TestFlyout flyout(state, nullptr);
    flyout.setModelName(QStringLiteral("SelfHosted"));
    Answer answer;
    askEntitlement(flyout, answer);
    QVERIFY(answer.ok);
    QVERIFY(answer.onGuiThread);
    QVERIFY(m_dialogs.isEmpty());
}

void TestCreateModelFlyout::creditAccountNeedsOnePoolThatCoversTheProject()
{
    MainState state;
    PhotoPreview canvas;
    state.setPhotoCanvas(&canvas);
    QCOMPARE(canvas.addFiles(m_photos).size(), 30);
    TestFlyout flyout(state, nullptr);
    flyout.setModelName(QStringLiteral("Credits"));

    // 30 photos at 10 per 100: 3 credits; the pool of 20 covers it.
    configure(0, QStringLiteral("2,20"), 10);
    Answer covered;
    askEntitlement(flyout, covered);
    QVERIFY(covered.ok);
    QVERIFY(covered.onGuiThread);
    QVERIFY(m_dialogs.isEmpty());

    // 30 photos at 100 per 100: 30 credits; pools of 20 and 15 do not add up.
    configure(0, QStringLiteral("20,15"), 100);
    Answer short_;
    askEntitlement(flyout, short_);
    QVERIFY(!short_.ok);
    QCOMPARE(m_dialogs.size(), 1);
    QCOMPARE(m_dialogs.at(0).mainText, QStringLiteral("Not enough cloud credits."));
    QVERIFY(m_dialogs.at(0).secondaryText.contains(QStringLiteral("30")));
    QVERIFY(m_dialogs.at(0).secondaryText.contains(QStringLiteral("20")));
}

void TestCreateModelFlyout::takenOrInvalidNameIsRefusedAtOnce()
{
    QVERIFY(QDir().mkpath(ProcessingService::projectsDirectory() + QStringLiteral("/Existing")));
    MainState state;
    TestFlyout flyout(state, nullptr);
    flyout.setModelName(QStringLiteral("Existing"));
    int calls = 0;
    bool ok = true;
    flyout.validateEntitlement([&](bool answer) {
        ++calls;
        ok = answer;
    });
    // Answered before returning: the dialog is still open with the name.
    QCOMPARE(calls, 1);
    QVERIFY(!ok);
    QCOMPARE(m_dialogs.size(), 1);
    QVERIFY(m_dialogs.at(0).secondaryText.contains(QStringLiteral("already exists")));

    flyout.setModelName(QStringLiteral(".hidden"));
    flyout.validateEntitlement([&](bool answer) {
        ++calls;
        ok = answer;
    });
    QCOMPARE(calls, 2);
    QVERIFY(!ok);
    QCOMPARE(m_dialogs.size(), 2);
}

QTEST_MAIN(TestCreateModelFlyout)
#include "tst_createmodelflyout.moc"
