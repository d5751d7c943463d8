#include <uibase/FileDialog.h>

#include <support/TestSupport.h>

#include <QtTest>
#include <QtWidgets>

using Zyn::UiBase::FileDialog;

class TestFileDialog : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        QVERIFY(QDir(m_dir.path()).mkdir("photos"));
        QFile file(m_dir.filePath("a.jpg"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("x");
    }
    void init() { FileDialog::clearHandler(); }
    void cleanup() { FileDialog::clearHandler(); }

    // The other modes, the folder, filter and parent are checked where the plug-in asks.
    void handlerAnswersOpenFilesAndCancel()
    {
        QList<FileDialog::Request> requests;
        QStringList answer{"/data/one.xml", "/data/two.xml"};
        FileDialog::setHandler([&](const FileDialog::Request& request) {
            requests << request;
            return answer;
        });
        QCOMPARE(FileDialog::getOpenFileName(nullptr, "Open File", "/data", "Survey (*.xml)"),
                 QStringLiteral("/data/one.xml"));
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
                QAbstractItemModel* model = view->model();
                for (int row = 0; row < model->rowCount(view->rootIndex()); ++row) {
                    const QModelIndex index = model->index(row, 0, view->rootIndex());
                    if (index.data().toString() == name)
                        return index;
                }
                return QModelIndex();
            };
            // The folder's entries are listed in the background.
            QTRY_VERIFY(indexOf("a.jpg").isValid() && indexOf("photos").isValid());
            QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier,
                              view->visualRect(indexOf("a.jpg")).center());
            QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier,
                              view->visualRect(indexOf("photos")).center());
            QTest::mouseClick(choose, Qt::LeftButton);
        });
        QStringList chosen =
            FileDialog::getOpenFilesAndFolders(nullptr, "Add photos", m_dir.path(), "Images (*.jpg)");
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
        QCOMPARE(FileDialog::getOpenFilesAndFolders(nullptr, "Add photos", photos, QString()),
                 QStringList{photos});
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

QTEST_MAIN(TestFileDialog)
#include "tst_filedialog.moc"
