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

#include <QtTest>
#include <QtWidgets>

#include <support/TestSupport.h>

using namespace Zyn::AppCreate;
using Zyn::UiBase::TaskDialog;
namespace U = Zyn::Utilities;

class TestCreateModelFlyout : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        Zyn::TestSupport::isolateSettings(QStringLiteral("tst_createmodelflyout"), m_dir.path());
        qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects")).toUtf8());
        for (int i = 0; i < 30; ++i) {
            const QString path = m_dir.filePath(QStringLiteral("photos/P%1.jpg").arg(i));
            QDir().mkpath(QFileInfo(path).path());
            QVERIFY(GpsJpeg::writePlain(path, i));
            m_photos << path;
        }
    }
    void init()
    {
        QSettings().clear();
        m_dialogs.record();
        configure({}, {}, {});
    }
    void cleanup()
    {
        QVERIFY(KeelCore::waitForIdle());
        m_dialogs.stop();
        CreateModelFlyout::clearTermsHandler();
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
        settings.beginGroup(QLatin1String(U::CFG_ELEM_GENERAL));
        QCOMPARE(settings.value(QLatin1String(U::CFG_ELEM_TERMS_ACCEPTED)).toBool(), true);
        settings.endGroup();

        // A value that is not a yes counts as not accepted.
        settings.setValue(QStringLiteral("%1/%2").arg(QLatin1String(U::CFG_ELEM_GENERAL), QLatin1String(U::CFG_ELEM_TERMS_ACCEPTED)),
                          QStringLiteral("garbage"));
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
        bool creditsPromised = false;
        QTimer::singleShot(0, this, [&] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            auto* button = dialog->findChild<QPushButton*>(accept ? "terms_accept_button" : "terms_decline_button");
            auto* check = dialog->findChild<QCheckBox*>(QStringLiteral("terms_checkBox"));
            auto* text = dialog->findChild<QTextBrowser*>(QStringLiteral("terms_textBrowser"));
            QVERIFY(button && check && text);
            creditsPromised = text->toPlainText().contains(QStringLiteral("cloud credits"));
            acceptWasDisabled = !dialog->findChild<QPushButton*>("terms_accept_button")->isEnabled();
            QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(5, check->height() / 2));
            QTest::mouseClick(button, Qt::LeftButton);
        });
        QCOMPARE(flyout.AskUserToAcceptTermsAndConditions(), accept);
        QVERIFY(acceptWasDisabled);
        // Credits are promised only to an account that pays with them.
        QCOMPARE(creditsPromised, account.toInt() == 0);
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
        QCOMPARE(canvas.addFiles(m_photos).size(), 30);
        TestFlyout flyout(state, nullptr);
        flyout.setModelName(QStringLiteral("Credits"));
        configure(type, pools.isEmpty() ? QVariant() : pools, per100);
        Answer answer;
        askEntitlement(flyout, answer);
        QCOMPARE(answer.ok, refusal.isEmpty());
        QVERIFY(answer.onGuiThread);
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
        int calls = 0;
        bool ok = true;
        const auto ask = [&] { flyout.validateEntitlement([&](bool answer) { ++calls; ok = answer; }); };
        ask();
        // Answered before returning: the dialog is still open with the name.
        QCOMPARE(calls, 1);
        QVERIFY(!ok);
        QCOMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs.at(0).mainText, QStringLiteral("The project cannot be created."));
        QCOMPARE(m_dialogs.at(0).secondaryText, ProcessingService::projectExistsText(QStringLiteral("Existing")));

        flyout.setModelName(QStringLiteral(".hidden"));
        ask();
        QCOMPARE(calls, 2);
        QVERIFY(!ok);
        QCOMPARE(m_dialogs.size(), 2);
    }

private:
    // Answers the entitlement check for the flyout: {called, answer, on GUI thread}.
    struct Answer {
        int calls = 0;
        bool ok = false;
        bool onGuiThread = false;
    };
    void askEntitlement(CreateModelFlyout& flyout, Answer& answer)
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

    QTemporaryDir m_dir;
    QStringList m_photos;
    Zyn::TestSupport::DialogRecorder m_dialogs;
};

QTEST_MAIN(TestCreateModelFlyout)
#include "tst_createmodelflyout.moc"
