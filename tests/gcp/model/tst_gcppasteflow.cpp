#include <gcp/model/GcpPasteFlow.h>

#include <uibase/TaskDialog.h>

#include <QtTest>

using namespace Zyn::AppGcp;
using Zyn::UiBase::TaskDialog;

Q_DECLARE_METATYPE(QList<int>)

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

    // Each question is asked once; "no" or closing it stops the paste. An
    // error ends it.
    void questions_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QList<int>>("answers");
        QTest::addColumn<QStringList>("asked"); // question or error: main text | detail
        QTest::addColumn<QStringList>("pasted");
        const QStringList none;
        const QString invalid = "NAME\tX\tY\tZ\nGCP1\t100\t200\t300\nP7\tabc\t2\t3";
        const QString headerless = "A\t1\t2\t3\nB\t4\t5\nC\t7\t8\t9";
        const QString skipInvalid = "Rows containing invalid data will be skipped. Continue?|";
        const QString noHeader = "No header is found in the copied text.|The GCP data will be pasted as is. Continue "
                                 "pasting anyway?";
        QTest::newRow("clean text asks nothing") << "Name\tX\tY\tZ\nA\t1\t2\t3\nB\t4\t5\t6" << QList<int>{}
                                                 << QStringList{} << QStringList{"A", "B"};
        QTest::newRow("invalid rows: no") << invalid << QList<int>{TaskDialog::No} << QStringList{skipInvalid}
                                          << QStringList{};
        QTest::newRow("invalid rows: yes") << invalid << QList<int>{TaskDialog::Yes} << QStringList{skipInvalid}
                                           << QStringList{"GCP1"};
        QTest::newRow("no header, then short rows") << headerless << QList<int>{TaskDialog::Yes, TaskDialog::Yes}
            << QStringList{noHeader, "Rows without valid coordinates will be skipped. Continue?|"}
            << QStringList{"A", "C"};
        QTest::newRow("no header: no") << headerless << QList<int>{TaskDialog::No} << QStringList{noHeader}
                                       << QStringList{};
        QTest::newRow("no header: closed") << headerless << QList<int>{TaskDialog::Rejected} << QStringList{noHeader}
                                           << QStringList{};
        const QString advice = "Please make sure all row data are tab-separated or comma-separated.";
        QTest::newRow("no data") << "\n \n" << QList<int>{}
                                 << QStringList{"error: No GCP data have been found in the copied text. |"} << none;
        QTest::newRow("cannot parse") << "A;1;2;3" << QList<int>{}
                                      << QStringList{"error: The copied text cannot be parsed correctly.|" + advice}
                                      << none;
        QTest::newRow("no coordinate columns") << "a\tb\nc\td" << QList<int>{}
            << QStringList{"error: No coordinate columns were found in the copied text.|The first line names the "
                           "columns a, b, none of them X/Y/Z, Easting/Northing/Elevation or Longitude/Latitude/"
                           "Altitude, and no two neighbouring columns hold numbers to read as coordinates. " + advice}
            << none;
        QTest::newRow("not points") << "Name\tPixel X\tPixel Y\nA\t1\t2" << QList<int>{}
            << QStringList{"error: The copied text holds no survey points.|This text looks like pixel positions in "
                           "photos (Pixel X, Pixel Y), not survey points: no X/Y/Z or Easting/Northing/Elevation "
                           "columns were found."}
            << none;
    }

    void questions()
    {
        QFETCH(QString, text);
        QFETCH(QList<int>, answers);
        QFETCH(QStringList, asked);
        QFETCH(QStringList, pasted);
        answerWith(answers);
        const PasteOutcome out = GcpPasteFlow::paste(text, {}, {}, nullptr);
        QStringList shown;
        for (const Shown& s : qAsConst(m_shown)) {
            const bool error = s.kind == TaskDialog::Error;
            shown << (error ? "error: " : "") + s.main + '|' + s.detail;
            QCOMPARE(s.buttons, int(error ? TaskDialog::OkButton : TaskDialog::YesNoButtons));
            QVERIFY(error || s.kind == TaskDialog::Warning);
        }
        QCOMPARE(shown, asked);
        QCOMPARE(names(out.gcps), pasted);
        QCOMPARE(out.cancelled, pasted.isEmpty());
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
