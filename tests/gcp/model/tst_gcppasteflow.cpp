#include <gcp/model/GcpPasteFlow.h>

#include <uibase/TaskDialog.h>

#include <QtTest>

using namespace Zyn::AppGcp;
using Zyn::UiBase::TaskDialog;

namespace {
struct Shown {
    int kind;
    QString main;
    QString detail;
    int buttons;
};
} // namespace

// The paste dialogs, answered through the task-dialog seam.
class TestGcpPasteFlow : public QObject {
    Q_OBJECT

    QList<Shown> m_shown;
    QList<int> m_answers; // given in turn; Ok once they run out

    void answerWith(const QList<int>& answers)
    {
        m_answers = answers;
        TaskDialog::setHandler([this](const TaskDialog::Request& r) {
            m_shown << Shown{r.kind, r.mainText, r.secondaryText, r.buttonSet};
            return m_answers.isEmpty() ? int(TaskDialog::Ok) : m_answers.takeFirst();
        });
    }

    static QStringList names(const GcpList& gcps)
    {
        QStringList out;
        for (const GcpInfo& g : gcps)
            out << g.name;
        return out;
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        m_shown.clear();
        qputenv("ZYN_LIST_SEPARATOR", ",");
    }

    void cleanup()
    {
        TaskDialog::clearHandler();
        qunsetenv("ZYN_LIST_SEPARATOR");
    }

    void cleanPasteAsksNothing()
    {
        answerWith({});
        const PasteOutcome out = GcpPasteFlow::paste("Name\tX\tY\tZ\nA\t1\t2\t3\nB\t4\t5\t6", {}, {}, nullptr);
        QVERIFY(!out.cancelled);
        QCOMPARE(names(out.gcps), (QStringList{"A", "B"}));
        QVERIFY(m_shown.isEmpty());
    }

    void invalidRowsQuestion()
    {
        const QString text = "NAME\tX\tY\tZ\nGCP1\t100\t200\t300\nP7\tabc\t2\t3";
        answerWith({TaskDialog::No});
        PasteOutcome out = GcpPasteFlow::paste(text, {}, {}, nullptr);
        QVERIFY(out.cancelled);
        QVERIFY(out.gcps.isEmpty());
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown[0].kind, int(TaskDialog::Warning));
        QCOMPARE(m_shown[0].main, QStringLiteral("Rows containing invalid data will be skipped. Continue?"));
        QCOMPARE(m_shown[0].buttons, int(TaskDialog::YesNoButtons));

        m_shown.clear();
        answerWith({TaskDialog::Yes});
        out = GcpPasteFlow::paste(text, {}, {}, nullptr);
        QVERIFY(!out.cancelled);
        QCOMPARE(names(out.gcps), QStringList{"GCP1"});
        QCOMPARE(m_shown.size(), 1);
    }

    void noHeaderQuestionThenInvalidRows()
    {
        const QString text = "A\t1\t2\t3\nB\t4\t5\nC\t7\t8\t9";
        answerWith({TaskDialog::Yes, TaskDialog::Yes});
        const PasteOutcome out = GcpPasteFlow::paste(text, {}, {}, nullptr);
        QCOMPARE(m_shown.size(), 2);
        QCOMPARE(m_shown[0].kind, int(TaskDialog::Warning));
        QCOMPARE(m_shown[0].main, QStringLiteral("No header is found in the copied text."));
        QCOMPARE(m_shown[0].detail, QStringLiteral("The GCP data will be pasted as is. Continue pasting anyway?"));
        QCOMPARE(m_shown[1].main, QStringLiteral("Rows without valid coordinates will be skipped. Continue?"));
        QCOMPARE(names(out.gcps), (QStringList{"A", "C"}));

        m_shown.clear();
        answerWith({TaskDialog::No});
        QVERIFY(GcpPasteFlow::paste(text, {}, {}, nullptr).cancelled);
        QCOMPARE(m_shown.size(), 1);
        // Closing the question is a "no" too.
        m_shown.clear();
        answerWith({TaskDialog::Rejected});
        QVERIFY(GcpPasteFlow::paste(text, {}, {}, nullptr).cancelled);
    }

    void errors_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("main");
        QTest::addColumn<QString>("detail");
        QTest::newRow("no data") << "\n \n" << "No GCP data have been found in the copied text. " << "";
        QTest::newRow("cannot parse") << "A;1;2;3" << "The copied text cannot be parsed correctly."
                                      << "Please make sure all row data are tab-separated or comma-separated.";
        QTest::newRow("no coordinate columns")
            << "a\tb\nc\td" << "No coordinate columns were found in the copied text."
            << "The first line names the columns a, b, none of them X/Y/Z, Easting/Northing/Elevation or "
               "Longitude/Latitude/Altitude, and no two neighbouring columns hold numbers to read as coordinates. "
               "Please make sure all row data are tab-separated or comma-separated.";
        QTest::newRow("not points") << "Name\tPixel X\tPixel Y\nA\t1\t2" << "The copied text holds no survey points."
                                    << "This text looks like pixel positions in photos (Pixel X, Pixel Y), not survey "
                                       "points: no X/Y/Z or Easting/Northing/Elevation columns were found.";
    }

    void errors()
    {
        QFETCH(QString, text);
        QFETCH(QString, main);
        QFETCH(QString, detail);
        answerWith({});
        const PasteOutcome out = GcpPasteFlow::paste(text, {}, {}, nullptr);
        QVERIFY(out.cancelled);
        QVERIFY(out.gcps.isEmpty());
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown[0].kind, int(TaskDialog::Error));
        QCOMPARE(m_shown[0].main, main);
        QCOMPARE(m_shown[0].detail, detail);
    }

    void existingNamesAreSkipped()
    {
        answerWith({});
        const PasteOutcome out = GcpPasteFlow::paste("Name\tX\tY\tZ\nA\t1\t2\t3\nb\t4\t5\t6\nC\t7\t8\t9\nc \t0\t0\t0",
                                                     {}, {"a", "B"}, nullptr);
        QCOMPARE(names(out.gcps), QStringList{"C"});
        QCOMPARE(out.skippedExisting, 3);
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown[0].main, QStringLiteral("Some points were not pasted, as their names were taken."));
        QCOMPARE(m_shown[0].detail, QStringLiteral("A, b: already in the table\n"
                                                   "c: more than once in the pasted text (the first is kept)"));
        QCOMPARE(pasteGcps("Name\tX\tY\tZ\nD\t1\t2\t3", {}, {"a"}, nullptr).size(), 1);
    }

    void generatedNamesAvoidTheTable()
    {
        answerWith({TaskDialog::Yes});
        const PasteOutcome out = GcpPasteFlow::paste("1\t2\t3\n4\t5\t6", {}, {"GCP1"}, nullptr);
        QCOMPARE(names(out.gcps), (QStringList{"GCP2", "GCP3"}));
        QCOMPARE(out.skippedExisting, 0);
    }
};

QTEST_GUILESS_MAIN(TestGcpPasteFlow)
#include "tst_gcppasteflow.moc"
