// The task and file dialogs, answered by a handler or by clicks on the real dialog.
#include <uibase/FileDialog.h>
#include <uibase/TaskDialog.h>

#include <support/TestSupport.h>

#include <QtTest>
#include <QtWidgets>

using Zyn::UiBase::FileDialog;
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

class TestDialogs : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        QVERIFY(QDir(m_dir.path()).mkdir("photos"));
        QVERIFY(Zyn::TestSupport::writeFile(m_dir.filePath("a.jpg"), "x"));
    }
    void init()
    {
        FileDialog::clearHandler();
        TaskDialog::clearHandler();
    }
    void cleanup() { init(); }

    void realDialogShowsTheRequestAndAnswersTheClickedIconButton()
    {
        QWidget parent;
        parent.show();
        const QStringList texts{"Some photos do not have GPS data", "The output will not be geolocated."};
        QStringList shown;
        QWidget* dialogParent = nullptr;
        Zyn::TestSupport::whenModalShown<QDialog>([&](QDialog* dialog) {
            shown << dialog->findChild<QLabel*>("main_text_label")->text()
                  << dialog->findChild<QLabel*>("secondary_text_label")->text();
            dialogParent = dialog->parentWidget();
            shown << buttonsThenClick(dialog, "icon_button_1");
        });
        const int result = TaskDialog::showWarningMessage(
            &parent, texts[0], texts[1], TaskDialog::IconButtonsOnly,
            {{":/resources/images/sys_message_box_button_yes.png", "Continue"}, {QString(), "Stop"}});
        QCOMPARE(result, TaskDialog::IconButtonResult + 1);
        QCOMPARE(shown, texts + QStringList({"icon_button_0", "icon_button_1"}));
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
        const auto ask = [&result] { result = TaskDialog::showErrorMessage(nullptr, "Main"); };
        QScopedPointer<QThread> thread(QThread::create(ask));
        thread->start();
        QVERIFY(thread->wait(10000));
        QCOMPARE(result, int(TaskDialog::Rejected));
    }

    // The other modes, the folder, filter and parent are checked where the plug-in asks.
    void handlerAnswersOpenFilesAndCancel()
    {
        QList<FileDialog::Request> requests;
        QStringList answer{"/data/one.xml", "/data/two.xml"};
        FileDialog::setHandler([&](const FileDialog::Request& request) {
            requests << request;
            return answer;
        });
        QCOMPARE(FileDialog::getOpenFileName(nullptr, "Open File", "/data", "Survey (*.xml)"), answer.first());
        QCOMPARE(FileDialog::getOpenFileNames(nullptr, "Add", "/photos", "Images (*.jpg)"), answer);
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests[1].mode, FileDialog::OpenFiles);

        answer.clear(); // cancelled
        QVERIFY(FileDialog::getOpenFileName(nullptr, "Open", "/", "*").isNull());
        QVERIFY(qApp->findChildren<QFileDialog*>().isEmpty());
    }

    void userPicksAFileAndAFolderTogether()
    {
        Zyn::TestSupport::whenModalShown<QFileDialog>([&](QFileDialog* dialog) {
            auto* view = dialog->findChild<QListView*>("listView");
            auto* choose = dialog->findChild<QPushButton*>("choose_selection_button");
            QVERIFY(view && choose);
            auto indexOf = [view](const QString& name) {
                const QModelIndex first = view->model()->index(0, 0, view->rootIndex());
                return view->model()->match(first, Qt::DisplayRole, name, 1, Qt::MatchExactly).value(0);
            };
            // The folder's entries are listed in the background.
            QTRY_VERIFY(indexOf("a.jpg").isValid() && indexOf("photos").isValid());
            QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier,
                              view->visualRect(indexOf("a.jpg")).center());
            QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier,
                              view->visualRect(indexOf("photos")).center());
            QTest::mouseClick(choose, Qt::LeftButton);
        });
        QStringList chosen = FileDialog::getOpenFilesAndFolders(nullptr, "Add photos", m_dir.path(), "Images (*.jpg)");
        chosen.sort();
        QCOMPARE(chosen, (QStringList{m_dir.filePath("a.jpg"), m_dir.filePath("photos")}));
    }

    void chooseWithoutSelectionTakesTheShownFolder()
    {
        Zyn::TestSupport::whenModalShown<QFileDialog>([](QFileDialog* dialog) {
            if (auto* choose = dialog->findChild<QPushButton*>("choose_selection_button"))
                QTest::mouseClick(choose, Qt::LeftButton);
        });
        const QString photos = m_dir.filePath("photos");
        QCOMPARE(FileDialog::getOpenFilesAndFolders(nullptr, "Add photos", photos, QString()), QStringList{photos});
    }

    void missingNameKeepsTheDialogOpen()
    {
        bool stillOpen = false;
        Zyn::TestSupport::whenModalShown<QFileDialog>([&](QFileDialog* dialog) {
            auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
            auto* choose = dialog->findChild<QPushButton*>("choose_selection_button");
            if (!name || !choose)
                return;
            QTest::keyClicks(name, "nothing-here.jpg");
            QTest::mouseClick(choose, Qt::LeftButton);
            stillOpen = dialog->isVisible();
            dialog->reject(); // the user gives up
        });
        QVERIFY(FileDialog::getOpenFilesAndFolders(nullptr, "Add", m_dir.path(), QString()).isEmpty());
        QVERIFY(stillOpen);
    }

    void saveAddsTheFiltersSuffix()
    {
        Zyn::TestSupport::whenModalShown<QFileDialog>([](QFileDialog* dialog) {
            auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
            if (!name)
                return;
            QTest::keyClicks(name, "survey");
            QTest::keyClick(name, Qt::Key_Return);
        });
        QCOMPARE(FileDialog::getSaveFileName(nullptr, "Save", m_dir.path(), "Survey files (*.xml);;All files (*)"),
                 m_dir.filePath("survey.xml"));
    }
};

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
