#include <uibase/TaskDialog.h>

#include <support/TestSupport.h>

#include <QtTest>
#include <QtWidgets>

using Zyn::UiBase::TaskDialog;

namespace {

// The dialog's buttons by name, sorted; clicks the one named click if it is shown.
QStringList buttonsThenClick(QDialog* dialog, const QString& click)
{
    QStringList names;
    QPushButton* target = nullptr;
    for (QPushButton* button : dialog->findChildren<QPushButton*>()) {
        names << button->objectName();
        if (button->objectName() == click && button->isVisible())
            target = button;
    }
    if (target)
        QTest::mouseClick(target, Qt::LeftButton);
    names.sort();
    return names;
}

} // namespace

class TestTaskDialog : public QObject {
    Q_OBJECT

private slots:
    void init() { TaskDialog::clearHandler(); }
    void cleanup() { TaskDialog::clearHandler(); }

    void realDialogShowsTheRequestAndAnswersTheClickedIconButton()
    {
        QWidget parent;
        parent.show();
        QString mainText, secondaryText;
        QStringList names;
        QWidget* dialogParent = nullptr;
        Zyn::TestSupport::whenModalShown<QDialog>([&](QDialog* dialog) {
            mainText = dialog->findChild<QLabel*>("main_text_label")->text();
            secondaryText = dialog->findChild<QLabel*>("secondary_text_label")->text();
            dialogParent = dialog->parentWidget();
            names = buttonsThenClick(dialog, "icon_button_1");
        });
        const int result = TaskDialog::showWarningMessage(
            &parent, "Some photos do not have GPS data", "The output will not be geolocated.",
            TaskDialog::IconButtonsOnly,
            {{":/resources/images/sys_message_box_button_yes.png", "Continue"}, {QString(), "Stop"}});
        QCOMPARE(result, TaskDialog::IconButtonResult + 1);
        QCOMPARE(mainText, QStringLiteral("Some photos do not have GPS data"));
        QCOMPARE(secondaryText, QStringLiteral("The output will not be geolocated."));
        QCOMPARE(names, (QStringList{"icon_button_0", "icon_button_1"}));
        QCOMPARE(dialogParent, &parent);
        // The dialog is gone once answered.
        QVERIFY(parent.findChildren<QDialog*>().isEmpty());
    }

    void buttonSetsAnswerTheirButton_data()
    {
        QTest::addColumn<int>("buttonSet");
        QTest::addColumn<QString>("click");
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<int>("expected");
        QTest::newRow("ok") << int(TaskDialog::OkButton) << "ok_button" << QStringList{"ok_button"}
                            << int(TaskDialog::Ok);
        QTest::newRow("cancel") << int(TaskDialog::OkCancelButtons) << "cancel_button"
                                << QStringList{"cancel_button", "ok_button"} << int(TaskDialog::Cancel);
        QTest::newRow("yes") << int(TaskDialog::YesNoButtons) << "yes_button"
                             << QStringList{"no_button", "yes_button"} << int(TaskDialog::Yes);
        QTest::newRow("no") << int(TaskDialog::YesNoCancelButtons) << "no_button"
                            << QStringList{"cancel_button", "no_button", "yes_button"} << int(TaskDialog::No);
        // Without icon buttons the dialog still offers a way out.
        QTest::newRow("nothing to click") << int(TaskDialog::IconButtonsOnly) << "ok_button"
                                          << QStringList{"ok_button"} << int(TaskDialog::Ok);
        QTest::newRow("escape") << int(TaskDialog::YesNoButtons) << "" << QStringList{"no_button", "yes_button"}
                                << int(TaskDialog::Rejected);
    }
    void buttonSetsAnswerTheirButton()
    {
        QFETCH(int, buttonSet);
        QFETCH(QString, click);
        QFETCH(QStringList, buttons);
        QFETCH(int, expected);
        QStringList names;
        bool secondaryVisible = true;
        Zyn::TestSupport::whenModalShown<QDialog>([&](QDialog* dialog) {
            secondaryVisible = dialog->findChild<QLabel*>("secondary_text_label")->isVisible();
            names = buttonsThenClick(dialog, click);
            if (click.isEmpty())
                QTest::keyClick(dialog, Qt::Key_Escape);
        });
        const int result = TaskDialog::showErrorMessage(nullptr, "Enter a project name.", QString(), buttonSet);
        QCOMPARE(names, buttons);
        QVERIFY(!secondaryVisible);
        QCOMPARE(result, expected);
    }

    void parentDestroyedWhileOpen()
    {
        auto* parent = new QWidget;
        parent->show();
        Zyn::TestSupport::whenModalShown<QDialog>([parent](QDialog*) { delete parent; });
        QCOMPARE(TaskDialog::showWarningMessage(parent, "Main"), int(TaskDialog::Rejected));
    }

    void noDialogOffTheGuiThread()
    {
        int result = -1;
        QThread* thread = QThread::create([&result] { result = TaskDialog::showErrorMessage(nullptr, "Main"); });
        thread->start();
        QVERIFY(thread->wait(10000));
        delete thread;
        QCOMPARE(result, int(TaskDialog::Rejected));
    }
};

QTEST_MAIN(TestTaskDialog)
#include "tst_taskdialog.moc"
