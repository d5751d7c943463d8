#include <gcp/model/SurveyData.h>
#include <gcp/model/SurveyFileFlow.h>

#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <uibase/FileDialog.h>
#include <uibase/TaskDialog.h>
#include <utilities/Constants.h>

#include <support/TestSupport.h>

#include <QtTest>

#include <csignal>
#include <sys/resource.h>

using namespace Zyn::AppGcp;
using Zyn::AppCreate::GcpCoordSysInfo;
using Zyn::UiBase::FileDialog;
using Zyn::UiBase::TaskDialog;

namespace {
const QString kLastDirKey = QString::fromLatin1(Zyn::Utilities::CFG_ELEM_GCP_LAST_DIRECTORY);

Zyn::Services::ConfigManager* config()
{
    return Zyn::Services::ApplicationService::GetInstance()->GetConfigManager();
}

GcpMap sampleGcps(int count)
{
    GcpMap gcps;
    for (int i = 0; i < count; ++i) {
        GcpInfo gcp;
        gcp.name = QStringLiteral("P%1").arg(i);
        gcp.coord1 = 1000 + i;
        gcp.coord2 = 2000 + i;
        gcp.coord3 = 3 * i;
        gcps.insert(gcp.name, gcp);
    }
    return gcps;
}
} // namespace

class TestSurveyFileFlow : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        config()->remove(kLastDirKey);
        FileDialog::clearHandler();
        TaskDialog::clearHandler();
    }

    void cleanup()
    {
        FileDialog::clearHandler();
        TaskDialog::clearHandler();
    }

    void normalizePath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("expected");
        QTest::newRow("whole-path replacement") << "C:/txt/points.txt" << "C:/xml/points.xml";
        QTest::newRow("no suffix") << "points" << "points.xml";
        QTest::newRow("dot in folder, none in name") << "/data/v1.2/points" << "/data/v1.2/points.xml";
        QTest::newRow("already xml") << "/a/points.xml" << "/a/points.xml";
        QTest::newRow("case differs") << "/a/points.XML" << "/a/points.xml";
        QTest::newRow("complete suffix") << "/a/points.tar.gz" << "/a/points.xml";
        QTest::newRow("trailing dot") << "/a/points." << "/a/points.xml";
    }

    void normalizePath()
    {
        QFETCH(QString, path);
        QFETCH(QString, expected);
        QCOMPARE(normalizeSurveySavePath(path), expected);
    }

    // Save names the file .xml and leaves the folder later dialogs start in;
    // loading the file moves that folder to the file's.
    void saveAndLoadThroughTheDialogs()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir("sub"));
        config()->setValue(kLastDirKey, dir.path());
        QList<FileDialog::Request> requests;
        FileDialog::setHandler([&](const FileDialog::Request& r) {
            requests << r;
            return QStringList{dir.filePath(r.mode == FileDialog::SaveFile ? "sub/survey" : "sub/survey.xml")};
        });
        MarkerMap markers;
        markers["P1"] = {GcpMarker{QString(), QStringLiteral("/photos/IMG_1.jpg"), QPoint(3, 4), 1}};
        const SurveyFileResult saved = SurveyFileFlow::save(nullptr, markers, sampleGcps(3), GcpCoordSysInfo::ll84());
        QVERIFY2(saved.ok(), qPrintable(saved.error));
        QCOMPARE(saved.path, dir.filePath("sub/survey.xml"));
        QCOMPARE(config()->getString(kLastDirKey), dir.path());

        const SurveyLoadResult back = SurveyFileFlow::load(nullptr);
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests[0].mode, FileDialog::SaveFile);
        QCOMPARE(requests[0].filter, QStringLiteral("*.xml"));
        QCOMPARE(requests[1].mode, FileDialog::OpenFile);
        QCOMPARE(requests[1].filter, QStringLiteral("*.xml;;*.txt"));
        QCOMPARE(requests[0].directory, dir.path());
        QCOMPARE(requests[1].directory, dir.path());
        QVERIFY(back.ok());
        QCOMPARE(back.gcps.size(), 3);
        QCOMPARE(back.coordSys, GcpCoordSysInfo::ll84());
        QCOMPARE(back.markers.value(back.gcps[1].id).size(), 1);
        QCOMPARE(SurveyFileFlow::lastDirectory(), dir.filePath("sub"));
    }

    // An unwritable target is reported with its path, and the dialog seam
    // shows it as an error.
    void saveFailureIsReported_data()
    {
        QTest::addColumn<QString>("relative");
        QTest::newRow("missing folder") << "no/such/folder/s.xml";
        QTest::newRow("target is a folder") << "taken.xml";
    }

    void saveFailureIsReported()
    {
        QFETCH(QString, relative);
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir("taken.xml"));
        const QString path = dir.filePath(relative);

        const SurveyFileResult result =
            SurveyFileFlow::writeFile(path, {}, sampleGcps(2), GcpCoordSysInfo::ll84(), false);
        QCOMPARE(result.status, SurveyFileResult::Failed);
        QVERIFY2(result.error.startsWith(QStringLiteral("could not write %1: ").arg(QDir::toNativeSeparators(path))),
                 qPrintable(result.error));
        QVERIFY(result.error.size() > QStringLiteral("could not write %1: ").arg(path).size());

        Zyn::TestSupport::DialogRecorder shown;
        shown.record();
        SurveyFileFlow::reportSaveFailure(nullptr, result);
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown[0].kind, TaskDialog::Error);
        QCOMPARE(shown[0].secondaryText, result.error);
        // A successful or cancelled result shows nothing.
        SurveyFileFlow::reportSaveFailure(nullptr, SurveyFileResult{});
        QCOMPARE(shown.size(), 1);
    }

    // A write that fails half-way (here: the file-size limit) leaves the
    // survey that was there untouched.
    void failedWriteKeepsTheOldFile()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("survey.xml");
        QVERIFY(SurveyFileFlow::writeFile(path, {}, sampleGcps(2), GcpCoordSysInfo::ll84(), false).ok());
        const QByteArray good = Zyn::TestSupport::readFile(path);
        QVERIFY(good.contains("P1"));

        rlimit old{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &old), 0);
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit small = old;
        small.rlim_cur = 4096;
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
        const SurveyFileResult result =
            SurveyFileFlow::writeFile(path, {}, sampleGcps(500), GcpCoordSysInfo::ll84(), false);
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, oldHandler);

        QCOMPARE(result.status, SurveyFileResult::Failed);
        QCOMPARE(Zyn::TestSupport::readFile(path), good);
        // No temporary file is left beside it.
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{"survey.xml"});
    }

    void ll84ExportOfAnUnknownSystemFails()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("export.xml");
        const GcpCoordSysInfo unknown("EPSG:999999", "nowhere", "999999", 1, "", 0);
        const SurveyFileResult bad = SurveyFileFlow::writeFile(path, {}, sampleGcps(2), unknown, true);
        QCOMPARE(bad.status, SurveyFileResult::Failed);
        QVERIFY2(bad.error.contains("EPSG:999999"), qPrintable(bad.error));
        QVERIFY(!QFile::exists(path));
    }

    void cancelledOrMissing()
    {
        FileDialog::setHandler([](const FileDialog::Request&) { return QStringList{}; });
        const SurveyFileResult saved = SurveyFileFlow::save(nullptr, {}, sampleGcps(1), GcpCoordSysInfo::ll84());
        QCOMPARE(saved.status, SurveyFileResult::Cancelled);
        QVERIFY(saved.error.isEmpty());
        QCOMPARE(SurveyFileFlow::load(nullptr).status, SurveyFileResult::Cancelled);
        QVERIFY(!config()->contains(kLastDirKey));

        QTemporaryDir dir;
        const QString gone = dir.filePath("gone.xml");
        FileDialog::setHandler([&](const FileDialog::Request&) { return QStringList{gone}; });
        const SurveyLoadResult result = SurveyFileFlow::load(nullptr);
        QCOMPARE(result.status, SurveyFileResult::Failed);
        QVERIFY(result.error.contains(QDir::toNativeSeparators(gone)));
        QVERIFY(result.gcps.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSurveyFileFlow)
#include "tst_surveyfileflow.moc"
