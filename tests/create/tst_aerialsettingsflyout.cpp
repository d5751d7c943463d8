// The aerial settings flyout driven as a user would: typing in the name
// field, clicking the outputs and Start, and the credit line, its rule and
// how it is filled from the configured account.

#include <create/AerialSettingsFlyout.h>

#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <coordsys/CoordSysDialog.h>
#include <coordsys/CoordSysSelector.h>
#include <keelcore/Dispatch.h>
#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <uibase/TaskDialog.h>
#include <utilities/Constants.h>

#include <QtTest>
#include <QtWidgets>

#include <memory>

#include <TestPhotos.h>
#include <support/TestSupport.h>

using namespace Zyn::AppCreate;
using Zyn::UiBase::TaskDialog;

namespace {
const QString kInitialCredits = QStringLiteral("? Cloud Credits required / ? available");

// Sets the account's values; an invalid one is removed.
void setAccount(const QVariant& type, const QVariant& pools, const QVariant& per100)
{
    auto* config = Zyn::Services::ApplicationService::GetInstance()->GetConfigManager();
    const QPair<const char*, QVariant> values[] = {{Zyn::Utilities::CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE, type},
                                                   {Zyn::Utilities::CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS, pools},
                                                   {Zyn::Utilities::CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS, per100}};
    for (const auto& v : values) {
        if (v.second.isValid())
            config->setValue(QLatin1String(v.first), v.second);
        else
            config->remove(QLatin1String(v.first));
    }
}
} // namespace

class TstAerialSettingsFlyout : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        Zyn::TestSupport::isolateSettings(QStringLiteral("tst_aerialsettingsflyout"), m_dir.path());
        qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects")).toUtf8());
    }
    void init()
    {
        QSettings().clear();
        setAccount({}, {}, {});
        m_dialogs.record();
        m_termsAsked = 0;
        m_termsAnswer = true;
        CreateModelFlyout::setTermsHandler([this](const QString&) {
            ++m_termsAsked;
            return m_termsAnswer;
        });
        m_state.reset(new MainState);
        m_canvas.reset(new PhotoPreview);
        m_state->setPhotoCanvas(m_canvas.get());
        m_flyout = new AerialSettingsFlyout(*m_state, m_canvas.get());
    }
    void cleanup()
    {
        delete m_flyout.data();
        m_canvas.reset();
        m_state.reset();
        QVERIFY(KeelCore::waitForIdle());
        m_dialogs.stop();
        CreateModelFlyout::clearTermsHandler();
    }

    void validateModelNameMessages_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("mainText");
        QTest::addColumn<QString>("secondaryText");
        QTest::newRow("empty") << QString() << QStringLiteral("The project name is empty!") << QString();
        const QString invalid = QStringLiteral("Project name is not valid.");
        const QString rule = QStringLiteral("Name may only contain letters(A-Z, a-z),\n"
                                            "digits(0-9), dash(-) or underscore (_).");
        QTest::newRow("pasted space") << QStringLiteral("north field") << invalid << rule;
        QTest::newRow("umlaut") << QStringLiteral("M\u00fchle") << invalid << rule;
        QTest::newRow("dot") << QStringLiteral("site.a") << invalid << rule;
        QTest::newRow("slash") << QStringLiteral("a/b") << invalid << rule;
        QTest::newRow("beyond latin-1") << QStringLiteral("site\u4e00") << invalid << rule;
        QTest::newRow("last character") << QStringLiteral("abcdef!") << invalid << rule;
        QTest::newRow("letters digits") << QStringLiteral("Survey2024abcXYZ") << QString() << QString();
        QTest::newRow("dash underscore") << QStringLiteral("-_") << QString() << QString();
        QTest::newRow("full length") << QString(256, QLatin1Char('a')) << QString() << QString();
    }
    void validateModelNameMessages()
    {
        QFETCH(QString, name);
        QFETCH(QString, mainText);
        QFETCH(QString, secondaryText);
        auto* edit = child<QLineEdit>("modelname_lineedit");
        edit->setStyleSheet(QStringLiteral("QLineEdit { border: 2px solid red; }"));
        edit->setText(name);
        const bool ok = m_flyout->ValidateModelName();
        QCOMPARE(ok, mainText.isEmpty());
        // Judged on Start, never while typing or pasting; the field's style is restored.
        QVERIFY(!edit->validator());
        QCOMPARE(edit->styleSheet(), name.isEmpty() ? QStringLiteral("QLineEdit { border: 2px solid red; }")
                                                    : CreateModelFlyout::GetModelNameLineEditStylesheet());
        if (ok) {
            QVERIFY(m_dialogs.isEmpty());
            QCOMPARE(m_flyout->getModelName(), name);
            return;
        }
        QCOMPARE(m_dialogs.size(), 1);
        const TaskDialog::Request& r = m_dialogs.constFirst();
        QCOMPARE(std::make_tuple(int(r.kind), r.mainText, r.secondaryText, r.buttonSet, r.iconButtons.size()),
                 std::make_tuple(int(TaskDialog::Error), mainText, secondaryText, int(TaskDialog::OkButton), 0));
        QCOMPARE(r.parent.data(), static_cast<QWidget*>(m_flyout.data()));
        // A refused name is not kept, and the field keeps what the user typed.
        QVERIFY(m_flyout->getModelName().isEmpty());
        QCOMPARE(edit->text(), name);
    }
    void keyFilterPolicesTyping_data()
    {
        // After "ab": a key first (0: none), then a key with its text and modifiers.
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("field"); // the text, '|' at the cursor
        QTest::newRow("dash") << 0 << int(Qt::Key_Minus) << "-" << 0 << "ab-|";
        QTest::newRow("underscore") << 0 << int(Qt::Key_Underscore) << "_" << int(Qt::ShiftModifier) << "ab_|";
        QTest::newRow("space") << 0 << int(Qt::Key_Space) << " " << 0 << "ab|";
        QTest::newRow("dot") << 0 << int(Qt::Key_Period) << "." << 0 << "ab|";
        QTest::newRow("Shift gives capitals") << 0 << int(Qt::Key_Q) << "Q" << int(Qt::ShiftModifier) << "abQ|";
        QTest::newRow("Shift with a digit key") << 0 << int(Qt::Key_5) << "%" << int(Qt::ShiftModifier) << "ab|";
        QTest::newRow("keypad digit") << 0 << int(Qt::Key_7) << "7" << int(Qt::KeypadModifier) << "ab7|";
        // Ctrl+A would select everything, so the next letter replaced it.
        QTest::newRow("Ctrl+A") << int(Qt::Key_A) << int(Qt::Key_Z) << "z" << 0 << "abz|";
        QTest::newRow("Home, Delete") << int(Qt::Key_Home) << int(Qt::Key_Delete) << "" << 0 << "|b";
        QTest::newRow("Left, Backspace") << int(Qt::Key_Left) << int(Qt::Key_Backspace) << "" << 0 << "|b";
        // Up would move the cursor to the start (End and Right pass as Home and
        // Left do); Return never reaches the field.
        QTest::newRow("Up") << 0 << int(Qt::Key_Up) << "" << 0 << "ab|";
        QTest::newRow("Return") << 0 << int(Qt::Key_Return) << "\r" << 0 << "ab|";
    }
    void keyFilterPolicesTyping()
    {
        QFETCH(int, first);
        QFETCH(int, key);
        QFETCH(QString, typed);
        QFETCH(int, modifiers);
        QFETCH(QString, field);
        m_flyout->show();
        auto* edit = child<QLineEdit>("modelname_lineedit");
        QSignalSpy returned(edit, &QLineEdit::returnPressed);
        QTest::keyClicks(edit, QStringLiteral("ab"));
        if (first)
            QTest::keyClick(edit, Qt::Key(first), first == Qt::Key_A ? Qt::ControlModifier : Qt::NoModifier);
        QTest::sendKeyEvent(QTest::Click, edit, Qt::Key(key), typed, Qt::KeyboardModifiers(modifiers));
        QCOMPARE(edit->text().insert(edit->cursorPosition(), '|'), field);
        QCOMPARE(returned.count(), 0);
    }
    void meshCannotBeSwitchedOff()
    {
        m_flyout->show();
        auto* mesh = child<QCheckBox>("mesh_checkBox");
        QVERIFY(mesh->isEnabled());
        QCOMPARE(mesh->focusPolicy(), Qt::NoFocus);
        for (int click = 0; click < 2; ++click)
            QTest::mouseClick(mesh, Qt::LeftButton, {}, QPoint(6, mesh->height() / 2));
        bool m = false, pc = true, om = true;
        float px = 0;
        QString cs;
        m_flyout->GetSettings(m, pc, om, px, cs);
        QVERIFY(m && mesh->isChecked() && !pc && !om);
    }
    void pixelSizeFollowsOrthoMap()
    {
        auto* ortho = child<QCheckBox>("orthomap_checkBox");
        auto* spin = child<QSpinBox>("upp_spinBox");
        m_flyout->show();
        QVERIFY(!spin->isEnabled());
        QTest::mouseClick(ortho, Qt::LeftButton, {}, QPoint(6, ortho->height() / 2));
        QVERIFY(spin->isEnabled());
        QTest::mouseClick(ortho, Qt::LeftButton, {}, QPoint(6, ortho->height() / 2));
        QVERIFY(!spin->isEnabled());

        // Showing again follows the check box even if the spin box was changed meanwhile.
        m_flyout->hide();
        {
            const QSignalBlocker block(ortho);
            ortho->setChecked(true);
        }
        QVERIFY(!spin->isEnabled());
        m_flyout->show();
        QVERIFY(spin->isEnabled());
    }
    void pixelSizeSavedIsShown_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("byReturn");
        QTest::addColumn<int>("shown");
        QTest::newRow("25") << "25" << false << 25;
        QTest::newRow("100, Return") << "100" << true << 100;
        QTest::newRow("cleared") << "" << false << 1;
        QTest::newRow("cleared, Return") << "" << true << 1;
        QTest::newRow("0") << "0" << false << 1;
        QTest::newRow("0, Return") << "0" << true << 1;
        QTest::newRow("0.") << "0." << false << 1;
        QTest::newRow("-, Return") << "-" << true << 1;
        QTest::newRow("250") << "250" << false << 25;
    }
    void pixelSizeSavedIsShown()
    {
        QFETCH(QString, typed);
        QFETCH(bool, byReturn);
        QFETCH(int, shown);
        readyToStart();
        auto* spin = child<QSpinBox>("upp_spinBox");
        QTest::mouseClick(child<QCheckBox>("orthomap_checkBox"), Qt::LeftButton, {}, QPoint(6, 8));
        QTest::mouseClick(child<QCheckBox>("qxs_checkBox"), Qt::LeftButton, {}, QPoint(6, 8));
        spin->setValue(30);
        spin->setFocus();
        spin->selectAll();
        QTest::keyClick(spin, Qt::Key_Backspace);
        QTest::keyClicks(spin, typed);
        bool m = false, pc = false, om = false;
        float px = 0;
        QString cs;
        connect(m_flyout.data(), &QDialog::accepted, this, [&] { m_flyout->GetSettings(m, pc, om, px, cs); });
        if (byReturn)
            QTest::keyClick(spin, Qt::Key_Return);
        else
            QTest::mouseClick(child<QPushButton>("start_button"), Qt::LeftButton);
        QTRY_VERIFY(m && pc && om);
        QCOMPARE(spin->text(), QString::number(shown));
        QCOMPARE(qRound(px * 100), shown);
        QCOMPARE(cs, QStringLiteral("EPSG:32633")); // the zone proposed, as the user chose none
    }
    void startSaysWhichPhotosAreLeftOut_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("accepts");
        QTest::newRow("start without them") << int(TaskDialog::Ok) << 1;
        QTest::newRow("cancel") << int(TaskDialog::Cancel) << 0;
    }
    void startSaysWhichPhotosAreLeftOut()
    {
        QFETCH(int, answer);
        QFETCH(int, accepts);
        const QString empty = QDir::cleanPath(m_dir.filePath(QStringLiteral("empty.jpg")));
        QVERIFY(Zyn::TestSupport::writeFile(empty, QByteArray()));
        QCOMPARE(m_canvas->addFiles({empty}).size(), 1);
        QTRY_COMPARE(m_canvas->unreadableFiles().size(), 1);
        readyToStart();
        m_dialogs.answer = answer;
        QSignalSpy accepted(m_flyout.data(), &QDialog::accepted);
        QTest::mouseClick(child<QPushButton>("start_button"), Qt::LeftButton);
        QCOMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs.first().mainText, QString("1 photo cannot be read and is left out of the project."));
        QCOMPARE(m_dialogs.first().secondaryText, "empty.jpg: " + m_canvas->unreadableFiles().first().reason);
        QVERIFY(KeelCore::waitForIdle());
        QTRY_COMPARE(accepted.count(), accepts);
        QCOMPARE(m_state->selectedFiles(), QStringList{m_dir.filePath(QStringLiteral("photo.jpg"))});
    }
    void showingFocusesTheCloseButton()
    {
        // Not the name field: a key typed by mistake must not land in it.
        child<QLineEdit>("modelname_lineedit")->setFocus();
        m_flyout->show();
        QCOMPARE(m_flyout->focusWidget(), static_cast<QWidget*>(child<QToolButton>("close_toolButton")));
    }
    void startRefusesWithoutTermsNameOrSystem()
    {
        m_flyout->show();
        QSignalSpy accepted(m_flyout.data(), &QDialog::accepted);
        auto* edit = child<QLineEdit>("modelname_lineedit");
        auto* start = child<QPushButton>("start_button");

        // Declined terms: silent, asked again next time.
        m_termsAnswer = false;
        edit->setText(QStringLiteral("site"));
        QTest::mouseClick(start, Qt::LeftButton);
        QCOMPARE(m_termsAsked, 1);
        QVERIFY(m_dialogs.isEmpty());

        m_termsAnswer = true;
        edit->setText(QStringLiteral("a b"));
        QTest::mouseClick(start, Qt::LeftButton);
        QCOMPARE(m_termsAsked, 2);
        QCOMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs.last().mainText, QStringLiteral("Project name is not valid."));

        // Accepted once, never asked again.
        QTRY_VERIFY_WITH_TIMEOUT(catalogueLoaded(), 60000);
        child<QLineEdit>("txtbox_coordsys")->setText(QStringLiteral("EPSG:0"));
        edit->setText(QStringLiteral("site"));
        QTest::mouseClick(start, Qt::LeftButton);
        QCOMPARE(m_termsAsked, 2);
        QCOMPARE(m_dialogs.size(), 2);
        QCOMPARE(m_dialogs.last().mainText, QStringLiteral("The target coordinate system is not valid!"));
        QCOMPARE(m_dialogs.last().buttonSet, int(TaskDialog::OkButton));

        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(accepted.count(), 0);
        QVERIFY(m_flyout->isVisible());
        QCOMPARE(edit->text(), QStringLiteral("site"));
    }
    void startsOnce_data()
    {
        QTest::addColumn<QString>("gesture");
        QTest::addColumn<int>("accepts");
        QTest::newRow("Return") << "return" << 1;
        QTest::newRow("keypad Enter") << "enter" << 1;
        QTest::newRow("Start clicked twice while the account answers") << "twice" << 1;
        QTest::newRow("Start then Return") << "start-return" << 1;
        QTest::newRow("Start then closed before the answer") << "start-close" << 0;
    }
    void startsOnce()
    {
        QFETCH(QString, gesture);
        QFETCH(int, accepts);
        readyToStart();
        QSignalSpy accepted(m_flyout.data(), &QDialog::accepted);
        // Modified Return does nothing.
        QTest::keyClick(m_flyout.data(), Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(accepted.count(), 0);
        auto* start = child<QPushButton>("start_button");
        if (gesture == QLatin1String("return"))
            QTest::keyClick(m_flyout.data(), Qt::Key_Return);
        else if (gesture == QLatin1String("enter"))
            QTest::keyClick(m_flyout.data(), Qt::Key_Enter, Qt::KeypadModifier);
        else {
            QTest::mouseClick(start, Qt::LeftButton);
            if (gesture == QLatin1String("twice"))
                QTest::mouseClick(start, Qt::LeftButton);
            else if (gesture == QLatin1String("start-return"))
                QTest::keyClick(m_flyout.data(), Qt::Key_Return);
            else
                QTest::mouseClick(child<QToolButton>("close_toolButton"), Qt::LeftButton);
        }
        QTRY_COMPARE(accepted.count(), accepts);
        QVERIFY(KeelCore::waitForIdle()); // and no second one
        QCOMPARE(accepted.count(), accepts);
        if (accepts)
            QCOMPARE(m_flyout->getModelName(), QStringLiteral("site"));
    }
    // Which credit figure is shown in which colour.
    void creditTextRule_data()
    {
        QTest::addColumn<QList<int>>("available");
        QTest::addColumn<int>("required");
        QTest::addColumn<QString>("colour");
        QTest::addColumn<int>("shown");
        QTest::newRow("second pool covers") << QList<int>{5, 20} << 10 << "gray" << 20;
        QTest::newRow("none covers: largest") << QList<int>{5, 8} << 10 << "red" << 8;
        QTest::newRow("first covering, not largest") << QList<int>{12, 30} << 10 << "gray" << 12;
        QTest::newRow("largest not last") << QList<int>{9, 3} << 10 << "red" << 9;
        QTest::newRow("exactly enough") << QList<int>{10} << 10 << "gray" << 10;
        QTest::newRow("free project") << QList<int>{0} << 0 << "gray" << 0;
    }
    void creditTextRule()
    {
        QFETCH(QList<int>, available);
        QFETCH(int, required);
        QFETCH(QString, colour);
        QFETCH(int, shown);
        const QString line = QStringLiteral("<font color=\"%1\">%2</font> Cloud Credits required / %3 available");
        QCOMPARE(AerialSettingsFlyout::cloudCreditsText(available, required),
                 "<html><body>" + line.arg(colour).arg(required).arg(shown) + "</body></html>");
    }
    void creditLineFollowsTheAccount_data()
    {
        QTest::addColumn<int>("type"); // 1: self-hosted
        QTest::addColumn<QString>("pools");
        QTest::addColumn<QString>("expected"); // empty: the line is left as it was
        QTest::newRow("red 8") << 0 << "5,8" << "<font color=\"red\">10</font> Cloud Credits required / 8 available";
        QTest::newRow("no pools") << 0 << "" << "";
        QTest::newRow("self-hosted hides the box") << 1 << "5,20" << "";
    }
    void creditLineFollowsTheAccount()
    {
        QFETCH(int, type);
        QFETCH(QString, pools);
        QFETCH(QString, expected);
        addPhoto();
        // One photo at 1000 credits per 100 photos costs 10.
        setAccount(type, pools.isEmpty() ? QVariant() : pools, 1000);
        auto* label = child<QLabel>("label_current_cc");
        auto* frame = child<QFrame>("frame_cloudcredits");
        m_flyout->show();
        QVERIFY(frame->isVisible());
        if (expected.isEmpty()) {
            QVERIFY(KeelCore::waitForIdle());
            QCOMPARE(label->text(), kInitialCredits);
        } else {
            QTRY_COMPARE(label->text(), QStringLiteral("<html><body>%1</body></html>").arg(expected));
        }
        QCOMPARE(frame->isVisible(), type != 1);
        if (type != 1)
            return;
        // No blank space is left where the box was.
        QCOMPARE(m_flyout->height(), m_flyout->sizeHint().height());
        // The account changes to credits: the next showing brings the box back.
        setAccount(0, pools, 1000);
        m_flyout->hide();
        m_flyout->show();
        QTRY_VERIFY(frame->isVisible());
    }
    void creditAnswerAfterFlyoutIsGoneIsDropped()
    {
        setAccount(0, QStringLiteral("5,20"), {});
        m_flyout->show();
        delete m_flyout.data();
        QVERIFY(KeelCore::waitForIdle());
        QVERIFY(m_dialogs.isEmpty());
    }

private:
    void addPhoto()
    {
        const QString path = m_dir.filePath(QStringLiteral("photo.jpg"));
        QVERIFY(TestPhotos::writePlain(path));
        QCOMPARE(m_canvas->addFiles({path}).size(), 1);
        QCOMPARE(m_state->selectedFileCount(), 1);
    }
    void readyToStart()
    {
        addPhoto();
        m_flyout->setDefaultGpsCoordSys(QStringLiteral("EPSG:32633"));
        m_flyout->show();
        QTRY_VERIFY_WITH_TIMEOUT(catalogueLoaded(), 60000);
        QTest::keyClicks(child<QLineEdit>("modelname_lineedit"), QStringLiteral("site"));
    }
    template <class T>
    T* child(const char* name) const
    {
        T* w = m_flyout->findChild<T*>(QLatin1String(name));
        if (!w)
            qFatal("missing child %s", name); // a renamed widget says which, not a bare crash
        return w;
    }
    bool catalogueLoaded() const
    {
        auto* selector = child<CoordSysSelector>("coord_sys_selector");
        return selector->dialog() && !selector->dialog()->isLoading();
    }

    QTemporaryDir m_dir;
    std::unique_ptr<MainState> m_state;
    std::unique_ptr<PhotoPreview> m_canvas;
    QPointer<AerialSettingsFlyout> m_flyout;
    Zyn::TestSupport::DialogRecorder m_dialogs;
    int m_termsAsked = 0;
    bool m_termsAnswer = true;
};

QTEST_MAIN(TstAerialSettingsFlyout)
#include "tst_aerialsettingsflyout.moc"
