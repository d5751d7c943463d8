// The GCP model: point records, their status, the files they are kept in, and copying and pasting them as text.

#include <gcp/model/GcpColor.h>
#include <gcp/model/GcpCopyFormatter.h>
#include <gcp/model/GcpInfo.h>
#include <gcp/model/GcpListFile.h>
#include <gcp/model/GcpPasteFlow.h>
#include <gcp/model/GcpStatus.h>
#include <gcp/model/SurveyData.h>
#include <gcp/model/SurveyFileFlow.h>

#include <gis/Gis.h>
#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <uibase/FileDialog.h>
#include <utilities/Constants.h>

#include <support/TestSupport.h>

#include <QtTest>

#include <cmath>
#include <csignal>
#include <limits>
#include <sys/resource.h>

using namespace Zyn::AppGcp;
using Zyn::AppCreate::GcpCoordSysInfo;
using Zyn::UiBase::FileDialog;
using Zyn::UiBase::TaskDialog;

Q_DECLARE_METATYPE(Zyn::AppGcp::ColumnRole)
Q_DECLARE_METATYPE(QList<Zyn::AppGcp::ColumnRole>)

namespace {
struct Parsed {
    bool ok = false;
    ParseStatus status;
    GcpList gcps;
};

Parsed parseOnce(GcpCopyFormatter& formatter)
{
    Parsed p;
    p.ok = formatter.parse(p.gcps, p.status);
    return p;
}

QString describe(const GcpInfo& g)
{
    return QStringLiteral("%1 %2 %3 %4 %5").arg(g.name).arg(g.coord1, 0, 'g', 17).arg(g.coord2, 0, 'g', 17)
        .arg(g.coord3, 0, 'g', 17).arg(g.checkpoint ? "cp" : "-");
}

QStringList names(const GcpList& gcps)
{
    QStringList out;
    for (const GcpInfo& g : gcps)
        out << g.name;
    return out;
}

QStringList describeAll(const GcpList& gcps)
{
    QStringList out;
    for (const GcpInfo& g : gcps)
        out << describe(g);
    return out;
}

GcpInfo makeGcp(const QString& name, double c1, double c2, double c3, bool checkpoint = false)
{
    GcpInfo gcp;
    gcp.name = name;
    gcp.coord1 = c1;
    gcp.coord2 = c2;
    gcp.coord3 = c3;
    gcp.checkpoint = checkpoint;
    return gcp;
}

// Three control points 100 m apart, each marked on three photos taken right
// above them; the case then changes one thing.
GcpStatusInput baseSurvey(bool geographic)
{
    GcpStatusInput in;
    in.coordSys = geographic ? GcpCoordSysInfo("EPSG:4326", "WGS 84", "4326", 1001, "WGS 84", 2)
                             : GcpCoordSysInfo("EPSG:32632", "WGS 84 / UTM zone 32N", "32632", 1, "WGS 84", 0);
    for (int i = 0; i < 3; ++i) {
        const GcpInfo gcp = makeGcp(QStringLiteral("P%1").arg(i), geographic ? 9.0 + i * 0.001 : 500000.0 + i * 100.0,
                                    geographic ? 47.0 : 5200000.0, 400.0);
        in.gcps << gcp;
        double lon = gcp.coord1, lat = gcp.coord2, h = gcp.coord3;
        Tarn::GIS::transformCoordToLL84(in.coordSys.code, lon, lat, h);
        for (int k = 0; k < 3; ++k) {
            const QString photo = QStringLiteral("/flight/P%1_%2.jpg").arg(i).arg(k);
            in.markersByName[gcp.name] << GcpMarker{QString(), photo, QPoint(300, 200), 1};
            in.photoSizes.insert(photo, QSize(600, 400));
            in.photoGeo.insert(photo, PhotoGeo{photo, true, lon, lat, 500.0, true});
        }
    }
    return in;
}

GcpMarker makeMarker(const QString& image, int x, int y)
{
    return GcpMarker{QString(), image, QPoint(x, y)};
}

QByteArray write(const MarkerMap& markers, const GcpMap& gcps, const GcpCoordSysInfo& cs, bool inLL84)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    writeSurveyData(&buffer, markers, gcps, cs, inLL84);
    return bytes;
}

struct ReadBack {
    MarkerMap markers;
    GcpList gcps;
    GcpCoordSysInfo cs;
};

ReadBack read(const QByteArray& bytes, GcpCoordSysInfo initial = {})
{
    ReadBack r{{}, {}, initial};
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    if (!readSurveyData(&buffer, r.markers, r.gcps, r.cs))
        qFatal("readSurveyData answered false");
    return r;
}

const QString kLastDirKey = QString::fromLatin1(Zyn::Utilities::CFG_ELEM_GCP_LAST_DIRECTORY);

Zyn::Services::ConfigManager* config()
{
    return Zyn::Services::ApplicationService::GetInstance()->GetConfigManager();
}

GcpMap sampleGcps(int count)
{
    GcpMap gcps;
    for (int i = 0; i < count; ++i)
        gcps.insert(QStringLiteral("P%1").arg(i), makeGcp(QStringLiteral("P%1").arg(i), 1000 + i, 2000 + i, 3 * i));
    return gcps;
}

const GcpCoordSysInfo kUtm33("EPSG:32633", "WGS 84 / UTM zone 33N", "32633", 1, "WGS84", 0);

} // namespace

class TestGcpModel : public QObject {
    Q_OBJECT

    QByteArray m_shippedData;
    Zyn::TestSupport::DialogRecorder m_shown;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        m_shippedData = qgetenv("ZYN_DATA_PATH");
        QVERIFY2(QFile::exists(QString::fromLocal8Bit(m_shippedData) + "/zynphoto_gcp.cfg"),
                 "the build did not install zynphoto_gcp.cfg in the data folder");
    }

    void init()
    {
        config()->remove(kLastDirKey);
        FileDialog::clearHandler();
        TaskDialog::clearHandler();
        qputenv("ZYN_LIST_SEPARATOR", ",");
        qputenv("ZYN_DATA_PATH", m_shippedData);
        QLocale::setDefault(QLocale::c());
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
        QStringList requests; // mode, filter, starting folder
        FileDialog::setHandler([&](const FileDialog::Request& r) {
            const QString mode = r.mode == FileDialog::SaveFile ? "save"
                                 : r.mode == FileDialog::OpenFile ? "open" : "?";
            requests << QStringList{mode, r.filter, r.directory}.join(' ');
            return QStringList{dir.filePath(r.mode == FileDialog::SaveFile ? "sub/survey" : "sub/survey.xml")};
        });
        const MarkerMap markers{{"P1", {makeMarker("/photos/IMG_1.jpg", 3, 4)}}};
        QCOMPARE(SurveyFileFlow::save(nullptr, markers, sampleGcps(3), GcpCoordSysInfo::ll84()).path,
                 dir.filePath("sub/survey.xml"));

        const SurveyLoadResult back = SurveyFileFlow::load(nullptr);
        QCOMPARE(requests, (QStringList{"save *.xml " + dir.path(), "open *.xml;;*.txt " + dir.path()}));
        QVERIFY(back.ok());
        QCOMPARE(back.gcps.size(), 3);
        QCOMPARE(back.coordSys, GcpCoordSysInfo::ll84());
        QCOMPARE(back.markers.value(back.gcps[1].id).size(), 1);
        QCOMPARE(SurveyFileFlow::lastDirectory(), dir.filePath("sub"));
    }

    // An unwritable target, or an LL84 copy of a system that cannot be
    // converted, is reported with its path and nothing is written; the
    // dialog seam shows it as an error.
    void saveFailureIsReported_data()
    {
        QTest::addColumn<QString>("relative");
        QTest::addColumn<bool>("ll84");
        QTest::newRow("missing folder") << "no/such/folder/s.xml" << false;
        QTest::newRow("target is a folder") << "taken.xml" << false;
        QTest::newRow("LL84 copy of an unknown system") << "export.xml" << true;
    }

    void saveFailureIsReported()
    {
        QFETCH(QString, relative);
        QFETCH(bool, ll84);
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir("taken.xml"));
        const QString path = dir.filePath(relative);
        const GcpCoordSysInfo cs = ll84 ? GcpCoordSysInfo("EPSG:999999", "nowhere", "999999", 1, "", 0)
                                        : GcpCoordSysInfo::ll84();

        const SurveyFileResult result = SurveyFileFlow::writeFile(path, {}, sampleGcps(2), cs, ll84);
        QCOMPARE(result.status, SurveyFileResult::Failed);
        QVERIFY2(result.error.startsWith(QStringLiteral("could not write %1: ").arg(QDir::toNativeSeparators(path))),
                 qPrintable(result.error));
        QVERIFY(result.error.size() > QStringLiteral("could not write %1: ").arg(path).size());
        QVERIFY2(!ll84 || result.error.contains("EPSG:999999"), qPrintable(result.error));
        QVERIFY(!QFileInfo(path).isFile());

        m_shown.record();
        SurveyFileFlow::reportSaveFailure(nullptr, result);
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown[0].kind, TaskDialog::Error);
        QCOMPARE(m_shown[0].secondaryText, result.error);
        // A successful or cancelled result shows nothing.
        SurveyFileFlow::reportSaveFailure(nullptr, SurveyFileResult{SurveyFileResult::Done});
        SurveyFileFlow::reportSaveFailure(nullptr, SurveyFileResult{});
        QCOMPARE(m_shown.size(), 1);
    }

    // A write that fails half-way (here: the file-size limit) leaves the survey that was there untouched.
    void failedWriteKeepsTheOldFile()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("survey.xml");
        QVERIFY(SurveyFileFlow::writeFile(path, {}, sampleGcps(2), GcpCoordSysInfo::ll84(), false).ok());
        const QByteArray good = Zyn::TestSupport::readFile(path);

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
    }

    void writesTheDocumentExactly()
    {
        // Out of order: the file follows key order.
        const GcpMap gcps = gcpMapByName({makeGcp("P2", 12.5, -0.25, 100, true), makeGcp("P1", 500000.125, 5e6, 0)});
        MarkerMap markers;
        markers["P1"] = {makeMarker("/photos/a/DJI_0001.JPG", 10, 20), makeMarker("/photos/b/DJI_0002.JPG", -3, 4000)};
        markers["ghost"] = {makeMarker("/x.jpg", 1, 1)}; // no such GCP: not written

        const QByteArray expected =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<surveydata coordinatesystem=\"EPSG:32633\" description=\"WGS 84 / UTM zone 33N\" epsgcode=\"32633\" "
            "unitcode=\"1\" datumid=\"WGS84\" type=\"0\">\n"
            "  <markers>\n"
            "    <marker id=\"0\" name=\"P1\">\n"
            "      <images>\n"
            "        <image name=\"DJI_0001.JPG\" xpixel=\"10\" ypixel=\"20\"/>\n"
            "        <image name=\"DJI_0002.JPG\" xpixel=\"-3\" ypixel=\"4000\"/>\n"
            "      </images>\n"
            "      <gcp x=\"500000.1250000000000000\" y=\"5000000.0000000000000000\" z=\"0.0000000000000000\" "
            "checkpoint=\"false\"/>\n"
            "    </marker>\n"
            "    <marker id=\"1\" name=\"P2\">\n"
            "      <images/>\n"
            "      <gcp x=\"12.5000000000000000\" y=\"-0.2500000000000000\" z=\"100.0000000000000000\" "
            "checkpoint=\"true\"/>\n"
            "    </marker>\n"
            "  </markers>\n"
            "</surveydata>\n";
        QCOMPARE(write(markers, gcps, kUtm33, false), expected);
    }

    void geographicNames()
    {
        const QByteArray geographic = write({}, gcpMapByName({makeGcp("A", 1, 2, 3)}), GcpCoordSysInfo::ll84(), false);
        QVERIFY2(geographic.contains("<gcp long=\"1.0000000000000000\" lat=\"2.0000000000000000\" "
                                     "alt=\"3.0000000000000000\" checkpoint=\"false\"/>"),
                 geographic.constData());
    }

    // The LL84 copy of a projected survey: "LL84" at the root, the rest of
    // the record as given, degrees under the projected names.
    void writesLl84Copy()
    {
        double e = 15.0, n = 45.0, h = 50.0;
        QVERIFY(Tarn::GIS::transformCoordFromLL84(kUtm33.code, e, n, h));

        const QByteArray bytes = write({}, gcpMapByName({makeGcp("C", e, n, h)}), kUtm33, true);
        QVERIFY2(bytes.contains("coordinatesystem=\"LL84\" description=\"WGS 84 / UTM zone 33N\" epsgcode=\"32633\""),
                 bytes.constData());
        QVERIFY(bytes.contains("<gcp x=\""));

        const ReadBack back = read(bytes);
        QCOMPARE(back.gcps.size(), 1);
        QVERIFY2(qAbs(back.gcps[0].coord1 - 15.0) < 1e-9, qPrintable(QString::number(back.gcps[0].coord1, 'f', 12)));
        QVERIFY2(qAbs(back.gcps[0].coord2 - 45.0) < 1e-9, qPrintable(QString::number(back.gcps[0].coord2, 'f', 12)));
        QVERIFY(qAbs(back.gcps[0].coord3 - 50.0) < 1e-6);
    }

    void roundTrip()
    {
        const GcpMap gcps = gcpMapByName({makeGcp("Nord", 433112.3456789012, 5765432.1, -12.0625, true),
                                          makeGcp("Süd & <Ost>", 1.0 / 3.0, 2, 3), makeGcp("lonely", 0, 0, 0)});
        const MarkerMap markers{{"Nord", {makeMarker("/data/flight 1/IMG_0001.jpg", 1024, 768)}},
                                {"Süd & <Ost>", {makeMarker("IMG_9.jpg", 7, 8)}}};

        const ReadBack back = read(write(markers, gcps, kUtm33, false));
        // In key order; 16 decimals give these values back exactly.
        QCOMPARE(describeAll(back.gcps), describeAll(gcps.values()));
        // Markers come back under the new records' ids, as bare file names.
        QCOMPARE(back.markers.size(), 2);
        QCOMPARE(back.markers.value(back.gcps[0].id).first().image, QStringLiteral("IMG_0001.jpg"));
        // Reading again gives new identities.
        QVERIFY(read(write(markers, gcps, kUtm33, false)).gcps[0].id != back.gcps[0].id);
    }

    void readerTolerance_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("names");     // names read, joined with "|"
        QTest::addColumn<QString>("first");     // first GCP: "c1 c2 c3 checkpoint"
        QTest::addColumn<QString>("pixels");    // first GCP's markers: "x,y;x,y"

        // Most documents are a survey root holding one markers element.
        const auto survey = [](const char* markers) {
            return QByteArray("<surveydata><markers>") + markers + "</markers></surveydata>";
        };
        QTest::newRow("checkpoint TRUE and 1 are false")
            << survey("<marker name='a'><images/><gcp x='1' y='2' z='3' checkpoint='TRUE'/></marker>"
                      "<marker name='b'><images/><gcp checkpoint='1'/></marker>") << "a|b" << "1 2 3 0" << "";
        QTest::newRow("fractional pixels truncate toward zero")
            << survey("<marker name='a'><images><image name='i.jpg' xpixel='12.9' ypixel='-3.7'/><image name='j.jpg' "
                      "xpixel='1e30' ypixel='nan'/></images><gcp long='4' lat='5' alt='6' checkpoint='true'/></marker>")
            << "a" << "4 5 6 1" << "12,-3;2147483647,0";
        QTest::newRow("foreign root, markers next")
            << QByteArray("<other coordinatesystem='EPSG:1'><markers><marker name='a'><images/><gcp x='1'/></marker>"
                          "</markers></other>") << "a" << "1 0 0 0" << "";
        QTest::newRow("gcp before images is stepped over")
            << survey("<marker name='a'><gcp x='1' y='2' z='3' checkpoint='true'/><images><image name='i' xpixel='1' "
                      "ypixel='1'/></images></marker><marker name='b'><images/><gcp x='9'/></marker>")
            << "a|b" << "0 0 0 0" << "";
        QTest::newRow("names compared without case")
            << QByteArray("<SurveyData><MARKERS><Marker NAME='a'><Images><IMAGE Name='i' XPixel='5' YPIXEL='6'/>"
                          "</Images><GCP X='1' Lat='2' ALT='3' CheckPoint='true'/></Marker></MARKERS></SurveyData>")
            << "a" << "1 2 3 1" << "5,6";
        QTest::newRow("missing attributes keep defaults") << survey("<marker><images><image/></images><gcp/></marker>")
                                                          << "" << "0 0 0 0" << "0,0";
        QTest::newRow("unreadable numbers read as zero")
            << survey("<marker name='a'><images/><gcp x='abc' y='1,5' z='inf'/></marker>") << "a" << "0 0 0 0" << "";
        QTest::newRow("empty marker element")
            << survey("<marker name='a'/><marker name='b'><images/><gcp x='2'/></marker>") << "a|b" << "0 0 0 0" << "";
        QTest::newRow("truncated after a complete gcp keeps it")
            << QByteArray("<surveydata><markers><marker name='a'><images/><gcp x='1'/></marker><marker name='b'>"
                          "<images/><gcp x='2' y='3'/>") << "a|b" << "1 0 0 0" << "";
        QTest::newRow("truncated inside a marker drops it")
            << QByteArray("<surveydata><markers><marker name='a'><images/><gcp x='1'/></marker><marker name='b'>"
                          "<images><image name='h' xpixel='7' ypixel='8'/><image name='i' xpix")
            << "a" << "1 0 0 0" << "";
        QTest::newRow("second element not markers stops")
            << QByteArray("<surveydata><other/><markers><marker name='a'/></markers></surveydata>") << "" << "" << "";
        QTest::newRow("reading ends at the end of markers")
            << survey("<marker name='a'/></markers><markers><marker name='b'/>") << "a" << "0 0 0 0" << "";
        QTest::newRow("not xml") << QByteArray("\x01\x02 this is not xml <<<") << "" << "" << "";
        QTest::newRow("empty") << QByteArray() << "" << "" << "";
    }

    void readerTolerance()
    {
        QFETCH(QByteArray, xml);
        QFETCH(QString, names);
        QFETCH(QString, first);
        QFETCH(QString, pixels);

        const ReadBack r = read(xml);
        QCOMPARE(::names(r.gcps).join('|'), names);
        for (const QString& id : r.markers.keys()) // no photos filed under a dropped marker
            QVERIFY(std::any_of(r.gcps.cbegin(), r.gcps.cend(), [&id](const GcpInfo& g) { return g.id == id; }));
        QCOMPARE(r.gcps.isEmpty(), first.isEmpty());
        if (r.gcps.isEmpty())
            return;
        const GcpInfo& g = r.gcps.first();
        QCOMPARE(QStringLiteral("%1 %2 %3 %4").arg(g.coord1).arg(g.coord2).arg(g.coord3).arg(int(g.checkpoint)), first);
        QStringList px;
        for (const GcpMarker& m : r.markers.value(g.id))
            px << QStringLiteral("%1,%2").arg(m.pixel.x()).arg(m.pixel.y());
        QCOMPARE(px.join(';'), pixels);
    }

    void coordinateSystemAttributes()
    {
        const GcpCoordSysInfo preset("KEEP", "keep", "1", 7, "D", 9);
        // Only attributes present are set; unknown ones are ignored.
        const ReadBack partial = read("<surveydata coordinatesystem='EPSG:2056' UNITCODE='x12' foo='bar'/>", preset);
        QCOMPARE(partial.cs.toText(), GcpCoordSysInfo("EPSG:2056", "keep", "1", 0, "D", 9).toText());

        QCOMPARE(read("<other coordinatesystem='EPSG:2056'><markers/></other>", preset).cs.toText(), preset.toText());

        const ReadBack full = read("<surveydata coordinatesystem='' description='' epsgcode='' unitcode='-1' "
                                   "datumid='' type='-1'/>", preset);
        QCOMPARE(full.cs.toText(), GcpCoordSysInfo("", "", "", -1, "", -1).toText());
    }

    // The list the processing engines read (gcp_list.txt).
    void readsTheEnginesLayout_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QStringList>("names"); // none: not this layout
        QTest::addColumn<QString>("last"); // the last point and its marker: "c1 c2 c3 x,y image"
        const QString rows = QStringLiteral("544256.7 5320919.9 5 3044 2622 IMG_0525.jpg gcp1\n"
                                            "544256.7 5320919.9 5 4193 1552 IMG_0585.jpg gcp1 extra words\n"
                                            "544157.7\t5320899.2\t5\t2937\t2131\tIMG_0525.jpg\tgcp2\n");
        const QString gcp2 = "544157.7 5320899.2 5 2937,2131 IMG_0525.jpg";
        const QStringList both{"gcp1", "gcp2"};
        QTest::newRow("EPSG line") << "EPSG:32611\n" + rows << "EPSG:32611" << both << gcp2;
        QTest::newRow("PROJ string, south") << "+proj=utm +zone=11 +south +datum=WGS84 +units=m +no_defs\n" + rows
                                            << "EPSG:32711" << both << gcp2;
        QTest::newRow("named zone") << "WGS84 UTM 32N\r\n" + rows << "EPSG:32632" << both << gcp2;
        QTest::newRow("unknown system kept as text") << "+proj=tmerc +lat_0=0\n" + rows << "" << both << gcp2;
        QTest::newRow("no names: grouped by coordinates") << "1 2 3 10 20 a.jpg\n1 2 3 11 21 b.jpg\n4 5 6 12 22 a.jpg\n"
                                                          << "" << QStringList{"GCP1", "GCP2"} << "4 5 6 12,22 a.jpg";
        QTest::newRow("a spreadsheet with a header is not this layout")
            << "Name\tEasting\tNorthing\tElevation\nA\t1\t2\t3\n" << "" << QStringList() << "";
        QTest::newRow("a second text line is not this layout") << "EPSG:32611\n" + rows + "oops\n" << ""
                                                                << QStringList() << "";
        QTest::newRow("five numbers are not enough") << "1 2 3 4 5\n" << "" << QStringList() << "";
    }
    void readsTheEnginesLayout()
    {
        QFETCH(QString, text);
        QFETCH(QString, code);
        QFETCH(QStringList, names);
        QFETCH(QString, last);
        const GcpListParse list = GcpListFile::parse(text);
        QCOMPARE(list.recognized, !names.isEmpty());
        if (names.isEmpty())
            return;
        QCOMPARE(list.systemCode, code);
        QCOMPARE(::names(list.gcps), names);
        int markers = 0;
        for (const GcpInfo& gcp : list.gcps)
            markers += list.markersByName.value(gcp.name).size();
        QCOMPARE(markers, 3); // every layout above marks three photos
        const GcpInfo& g = list.gcps.last();
        const GcpMarker m = list.markersByName.value(g.name).last();
        QCOMPARE(QStringLiteral("%1 %2 %3 %4,%5 %6").arg(g.coord1, 0, 'g', 12).arg(g.coord2, 0, 'g', 12)
                     .arg(g.coord3).arg(m.pixel.x()).arg(m.pixel.y()).arg(m.image), last);
    }

    void defaultName_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty table") << QStringList{} << "GCP1";
        QTest::newRow("gap at 3, mixed case") << QStringList{"GCP1", "gcp2", "GCP4"} << "GCP3";
        QTest::newRow("only GCP2") << QStringList{"GCP2"} << "GCP1";
        QTest::newRow("leading zero never matches") << QStringList{"GCP01"} << "GCP1";
        QTest::newRow("unordered run") << QStringList{"gcp3", "Gcp1", "GCP2"} << "GCP4";
        QTest::newRow("padded name does not block") << QStringList{" GCP1", "GCP1 "} << "GCP1";
        QTest::newRow("other names ignored") << QStringList{"A", "GCP", "GCP1x"} << "GCP1";
        QTest::newRow("duplicates") << QStringList{"GCP1", "gcp1", "GCP2"} << "GCP3";
    }

    void defaultName()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, expected);
        QCOMPARE(makeDefaultGcpName(names), expected);
    }

    void generatorRespectsReservedNames()
    {
        DefaultGcpNameGenerator generator({"GCP1"});
        generator.reserve(QStringLiteral("gcp2"));
        QCOMPARE(generator.next(), QStringLiteral("GCP3"));
        QCOMPARE(generator.next(), QStringLiteral("GCP4"));
    }

    void freshRecords()
    {
        // A copy keeps its identity; fresh records never share one.
        const GcpInfo a;
        QCOMPARE(GcpInfo(a).id, a.id);
        QSet<QString> ids;
        for (int i = 0; i < 20000; ++i)
            ids.insert(GcpInfo().id);
        QCOMPARE(ids.size(), 20000);
    }

    // Points sharing a name are never merged: the later ones are renamed and keep their own markers.
    void sharedNamesAreSeparated()
    {
        GcpList gcps;
        for (const char* name : {"A", "B", "a", "A (2)", "A"})
            gcps << makeGcp(QString::fromLatin1(name), 0, 0, 0);
        // A plain lookup by name keeps the last of them.
        QCOMPARE(gcpMapByName(gcps).keys(), (QStringList{"A", "A (2)", "B", "a"}));
        QCOMPARE(gcpMapByName(gcps).value("A").id, gcps.at(4).id);
        MarkerMap byId;
        for (int i = 0; i < gcps.size(); ++i)
            if (i != 1) // B has no marker, so no entry
                byId[gcps.at(i).id] << GcpMarker{QString(), QStringLiteral("IMG_%1.JPG").arg(i), QPoint(i, i), 1};
        const QStringList renamed = makeNamesUnique(gcps);
        QCOMPARE(renamed, (QStringList{"a -> a (3)", "A -> A (4)"}));
        const MarkerMap byName = markersByName(gcps, byId);
        QCOMPARE(byName.keys(), (QStringList{"A", "A (2)", "A (4)", "a (3)"}));
        QCOMPARE(byName.value(QStringLiteral("A (4)")).first().image, QStringLiteral("IMG_4.JPG"));
    }

    // Neighbouring numbers of one survey get hues far apart, whatever the prefix.
    void numberedPointsGetDistinctHues()
    {
        for (const QString& prefix : {QStringLiteral("GCP"), QStringLiteral("CP-"), QString()}) {
            for (int a = 1; a <= 12; ++a)
                for (int b = a + 1; b <= a + 2; ++b) {
                    const int d = qAbs(gcpColorForName(prefix + QString::number(a)).hue()
                                       - gcpColorForName(prefix + QString::number(b)).hue());
                    QVERIFY2(qMin(d, 360 - d) >= 60, qPrintable(prefix + QString::number(a)));
                }
        }
    }

    void eachRuleAtItsThreshold_data()
    {
        QTest::addColumn<bool>("geographic");
        QTest::addColumn<int>("change");
        QTest::addColumn<double>("amount");
        QTest::addColumn<int>("code"); // the rule's code expected on P1, or -1 for not
        // change 0: P1 keeps only `amount` markers
        QTest::newRow("3 markers") << false << 0 << 3.0 << -1;
        QTest::newRow("2 markers") << false << 0 << 2.0 << 1;
        // change 1: P1's X and Y set `amount` away from P0's
        QTest::newRow("9 mm from another") << false << 1 << 0.009 << 2;
        QTest::newRow("11 mm from another") << false << 1 << 0.011 << -1;
        QTest::newRow("0.9e-7 deg from another") << true << 1 << 0.9e-7 << 2;
        QTest::newRow("1.1e-7 deg from another") << true << 1 << 1.1e-7 << -1;
        // change 2: P1's X (or latitude) set to `amount`
        QTest::newRow("easting outside the zone") << false << 2 << 2000000.0 << 3;
        QTest::newRow("latitude 90") << true << 2 << 90.0 << -1;
        QTest::newRow("latitude 90.5") << true << 2 << 90.5 << 3;
        QTest::newRow("non-numeric text read as 0") << false << 2 << 0.0 << 3;
        // change 3: P1's first marker at x = `amount` on a 600 px wide photo
        QTest::newRow("last pixel column") << false << 3 << 599.0 << -1;
        QTest::newRow("one past it") << false << 3 << 600.0 << 4;
        QTest::newRow("photo not in the project") << false << 4 << 0.0 << 4;
        // change 5: P1's first photo taken `amount` metres east of it, 100 m up
        QTest::newRow("photo 50 m away") << false << 5 << 50.0 << -1;
        QTest::newRow("photo 2 km away") << false << 5 << 2000.0 << 5;
        // change 6: `amount` of the three points are checkpoints
        QTest::newRow("one checkpoint, two control points") << false << 6 << 1.0 << 6;
    }
    void eachRuleAtItsThreshold()
    {
        QFETCH(bool, geographic);
        QFETCH(int, change);
        QFETCH(double, amount);
        QFETCH(int, code);
        GcpStatusInput in = baseSurvey(geographic);
        GcpInfo& p1 = in.gcps[1];
        QList<GcpMarker>& markers = in.markersByName[p1.name];
        switch (change) {
        case 0:
            markers = markers.mid(0, int(amount));
            break;
        case 1:
            p1.coord1 = in.gcps[0].coord1 + amount;
            p1.coord2 = in.gcps[0].coord2 + amount;
            break;
        case 2:
            (geographic ? p1.coord2 : p1.coord1) = amount;
            break;
        case 3:
            markers[0].pixel.setX(int(amount));
            break;
        case 4:
            markers[0].image = QStringLiteral("/elsewhere/IMG_9.jpg");
            break;
        case 5: {
            PhotoGeo& geo = in.photoGeo[markers[0].image];
            geo.longitude += amount / (111320.0 * std::cos(geo.latitude * M_PI / 180.0));
            geo.altitude = p1.coord3 + 100.0;
            break;
        }
        case 6:
            p1.checkpoint = true;
            break;
        }
        const GcpStatusResult result = computeGcpStatus(in);
        const int rule[] = {1, 2, 3, 4, 4, 5, 6};
        QCOMPARE(result.codesByName.value(p1.name).contains(rule[change]), code >= 0);
        // The other points are untouched, except the partner of a duplicate.
        if (change != 1 || code < 0)
            QVERIFY(result.codesByName.value(QStringLiteral("P2")).isEmpty());
    }

    void summaryCountsWhatIsThere()
    {
        GcpStatusInput in = baseSurvey(false);
        in.gcps[2].checkpoint = true;
        in.markersByName[QStringLiteral("P0")].removeLast();
        QCOMPARE(computeGcpStatus(in).summaryText(),
                 QString("2 control points \u00B7 1 checkpoint \u00B7 8 markers \u00B7 2 points need attention"));
    }

    // What a first parse answers, and the records once the paste dialogs'
    // questions (skip invalid rows, paste without a header) are answered yes.
    void parse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("first"); // status code of the first parse
        QTest::addColumn<QString>("reason"); // its message, for invalid rows
        QTest::addColumn<QStringList>("records");
        // Rows a first parse reads whole, rows it refuses some lines of (saying why), rows without a header.
        const auto clean = [](const char* name, const QString& text, const QStringList& records) {
            QTest::newRow(name) << text << 0 << QString() << records;
        };
        const auto invalid = [](const char* name, const QString& text, const QString& why, const QStringList& records) {
            QTest::newRow(name) << text << int(GcpCopyFormatter::StatusInvalidRows) << why << records;
        };
        const auto headerless = [](const char* name, const QString& text, const QStringList& records) {
            QTest::newRow(name) << text << int(GcpCopyFormatter::StatusNoHeader) << QString() << records;
        };
        clean("NAME X Y Z", "NAME\tX\tY\tZ\nGCP1\t100\t200\t300\n", {"GCP1 100 200 300 -"});
        clean("units, BOM, CRLF, trailing separator",
              QStringLiteral("\ufeffLabel\tEasting (m)\tNorthing [m]\tElevation (m)\t\r\nA1\t5.5\t6\t7\t\r\n"),
              {"A1 5.5 6 7 -"});
        clean("columns in another order, extra columns",
              "Code\tN\tE\tGCP Label\tH\tAccuracy\tCheck\nk\t2\t1\tP1\t3\t0.01\ttrue\nk\t5\t4\tP2\t6\t0.02\tfalse\n",
              {"P1 1 2 3 cp", "P2 4 5 6 -"});
        clean("title line above the header",
              "Survey of 2024-05-01\nPoint Name,Lat,Long,Ellipsoidal height\n\"North, gate\",47.5,8.25,401.5\n",
              {"North, gate 8.25 47.5 401.5 -"});
        clean("no name column: default names", "x\ty\tz\n1\t2\t3\n4\t5\t6\n", {"GCP1 1 2 3 -", "GCP2 4 5 6 -"});
        clean("two coordinates suffice", "id,x,y\nA,1,2\n", {"A 1 2 0 -"});
        clean("blank lines between rows", "\n\nname\tx\ty\tz\n\n \nA\t1\t2\t3\n\n", {"A 1 2 3 -"});
        clean("quoted cell with spaces and a doubled quote",
              QStringLiteral("Name\tX\tY\n\"12 deg 30' 5.10\"\" N\"\t1\t2\n"), {"12 deg 30' 5.10\" N 1 2 0 -"});
        clean("GIS export", "#Label\tPOINT_X\tPOINT_Y\tPOINT_Z\nA\t1\t2\t3\n", {"A 1 2 3 -"});
        clean("axis and meaning", "local_id,X/Longitude,Y/Latitude,Z/Altitude\nB,1,2,3\n", {"B 1 2 3 -"});
        clean("station with abbreviations", "Station\tE\tN\tElev\nC\t1\t2\t3\n", {"C 1 2 3 -"});

        invalid("invalid data", "NAME\tX\tY\tZ\nP1\t1\t2\t3\nP7\tabc\t2\t3\n", "containing invalid data",
                {"P1 1 2 3 -"});
        invalid("too short for coordinates", "NAME\tX\tY\tZ\nP1\t1\t2\nP2\t4\t5\t6\n", "without valid coordinates",
                {"P2 4 5 6 -"});
        invalid("too short for the name", "X\tY\tZ\tName\n1\t2\t3\n4\t5\t6\tP2\n", "without a valid GCP name",
                {"P2 4 5 6 -"});
        invalid("blank cell shifts the row", "Name\tX\tY\tZ\nP1\t\t2\t3\nP2\t4\t5\t6\n", "without valid coordinates",
                {"P2 4 5 6 -"});
        invalid("blank name", "Name\tX\tY\tZ\n \t1\t2\t3\nP2\t4\t5\t6\n", "without a valid GCP name", {"P2 4 5 6 -"});
        invalid("doubled quotes only are a field of quotes", "Name\tX\tY\tZ\n'\"\"'\t1\t2\t3\nP2\t4\t5\t6\n",
                "without valid coordinates", {"P2 4 5 6 -"});
        invalid("latitude beyond the pole", "Name,Lat,Lon\nA,46.5,6.5\nB,95,6.5\n", "with a latitude outside ±90°",
                {"A 6.5 46.5 0 -"});
        invalid("every row skipped", "Name\tX\tY\tZ\n \t1\t2\t3\n", "without a valid GCP name", {});

        const QStringList empties{"", "\n\n\n", "\r\n  \r\n\t\r\n", ",,,\n\t\t\n", "Name\tX\tY\tZ\n"};
        for (const QString& empty : empties) // blank, CRLF and spaces, separators only, header only
            QTest::addRow("no data %d", int(empties.indexOf(empty)))
                << empty << int(GcpCopyFormatter::StatusNoData) << QString() << QStringList();

        headerless("headerless", "P1\t1\t2\t3\nP2\t4\t5\t6", {"P1 1 2 3 -", "P2 4 5 6 -"});
        headerless("numeric point numbers", "101,10.5,20.5,30.5\n102,11,21,31",
                   {"101 10.5 20.5 30.5 -", "102 11 21 31 -"});
        headerless("checkpoint column", "A\t1\t2\t3\tTRUE\nB\t4\t5\t6\tfalse", {"A 1 2 3 cp", "B 4 5 6 -"});
        headerless("text columns before, extra after", "A\tcode\t1\t2\t3\t0.01\t0.02\nB\tcode\t4\t5\t6\t0.01\t0.02",
                   {"A 1 2 3 -", "B 4 5 6 -"});
        headerless("unrecognised header line is not data", "Punkt\tRechtswert\tHochwert\tHoehe\nA\t1\t2\t3",
                   {"A 1 2 3 -"});
    }

    void parse()
    {
        QFETCH(QString, text);
        QFETCH(int, first);
        QFETCH(QString, reason);
        QFETCH(QStringList, records);
        GcpCopyFormatter formatter(text);
        Parsed p = parseOnce(formatter);
        QCOMPARE(p.status.code, first);
        QCOMPARE(p.ok, first == 0);
        if (first == GcpCopyFormatter::StatusInvalidRows)
            QCOMPARE(p.status.message, reason);
        if (first != GcpCopyFormatter::StatusNoData)
            QCOMPARE(formatter.headerFound(), first != GcpCopyFormatter::StatusNoHeader);

        formatter.setSkipInvalidRows(true);
        formatter.setAcceptWithoutHeader(true);
        p = parseOnce(formatter);
        QCOMPARE(describeAll(p.gcps), records);
        QCOMPARE(p.status.code, records.isEmpty() ? int(GcpCopyFormatter::StatusNoData) : 0);
    }

    // Headerless coordinates follow the order of the table's columns.
    void headerlessFollowsColumnOrder()
    {
        GcpCopyFormatter formatter("P1\t1\t2\t3", {NameRole, Coord2Role, Coord1Role, Coord3Role, CheckpointRole});
        formatter.setAcceptWithoutHeader(true);
        QCOMPARE(describeAll(parseOnce(formatter).gcps), QStringList{"P1 2 1 3 -"});
    }

    // Text that is no point list is refused, saying what was understood;
    // survey layouts that resemble such lists are still points. The flags
    // the paste dialogs set do not turn a refusal into records.
    void notPointLists_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message");
        const int refused = GcpCopyFormatter::StatusNotPoints;
        const QString noColumns = "no X/Y/Z or Easting/Northing/Elevation columns were found.";
        QTest::newRow("photo metadata") << "File name,Yaw,Pitch,Altitude\nDJI_0001.JPG,12.5,-90,480\n" << refused
            << "This text looks like a list of photos (File name, Yaw, Pitch, file names such as DJI_0001.JPG), "
               "not survey points: " + noColumns;
        QTest::newRow("marks in photos") << "image,point,x,y\nDJI_0001.JPG,GCP1,1234,2345\nDJI_0002.JPG,GCP1,1200,2300"
            << refused << "This text looks like a list of photos (image, file names such as DJI_0001.JPG), not survey "
                          "points: its rows are photos, so its numbers are positions of or in photos, not surveyed "
                          "coordinates.";
        QTest::newRow("headerless photo names") << "IMG_1.jpg\t1\t2\t3\nIMG_2.jpg\t4\t5\t6" << refused
            << "This text looks like a list of photos (file names such as IMG_1.jpg), not survey points: " + noColumns;
        QTest::newRow("pixel positions") << "Name\tPixel X\tPixel Y\nGCP1\t1234.5\t2345.5\n" << refused
            << "This text looks like pixel positions in photos (Pixel X, Pixel Y), not survey points: " + noColumns;
        QTest::newRow("degree-minute-second text") << "Name,Latitude,Longitude\nP1,46°31'12.3\" N,6°37'48.1\" E\n"
            << refused << "The coordinate columns (Longitude, Latitude) hold degree-minute-second text, not numbers "
                          "(6°37'48.1\" E): no row can become a survey point.";
        QTest::newRow("row numbers") << "Name,X,Y,Z\nA,1,1,1\nB,2,2,2\n" << refused
            << "The coordinate columns (X, Y, Z) hold the same small whole number three times in every row: these "
               "look like row numbers or indices, not survey coordinates.";
        QTest::newRow("projected under lat/lon") << "Name,Lat,Lon,Alt\nA,5200000.5,600000.5,400\n" << refused
            << "The columns Lon, Lat are named as degrees, but no row holds degrees there (600000.5 is beyond ±90° "
               "latitude or ±180° longitude): name the columns Easting and Northing (or X and Y) if they are "
               "projected coordinates.";
        QTest::newRow("no coordinate column") << "\"Point Name\"\t\"Remark\"\nA\tnorth gate\n"
            << int(GcpCopyFormatter::StatusHeaderInvalid)
            << "The first line names the columns Point Name, Remark, none of them X/Y/Z, Easting/Northing/Elevation "
               "or Longitude/Latitude/Altitude, and no two neighbouring columns hold numbers to read as coordinates. "
               "Please make sure all row data are tab-separated or comma-separated.";
        QTest::newRow("one field per line") << "P1;1;2;3\nP2;4;5;6" << int(GcpCopyFormatter::StatusCannotParse)
                                            << "Please make sure all row data are tab-separated or comma-separated.";
        QTest::newRow("surveyor's grid") << "Name\tEasting\tNorthing\tElevation\nT1\t2600000.1\t1200000.2\t400\n" << 0
                                         << "";
        QTest::newRow("local origin") << "Name,X,Y,Z\nBASE,0,0,0\nP1,10,20,0.5\n" << 0 << "";
        QTest::newRow("one equal row among points") << "Name,X,Y,Z\nA,5,5,5\nB,100.5,200.5,3\n" << 0 << "";
        QTest::newRow("degrees in range") << "Name,Lat,Lon,Alt\nA,46.5,6.6,400\n" << 0 << "";
    }

    void notPointLists()
    {
        QFETCH(QString, text);
        QFETCH(int, code);
        QFETCH(QString, message);
        GcpCopyFormatter formatter(text);
        formatter.setAcceptWithoutHeader(true);
        formatter.setSkipInvalidRows(true);
        const Parsed p = parseOnce(formatter);
        QCOMPARE(p.status.code, code);
        QCOMPARE(p.status.message, message);
        QCOMPARE(p.ok, code == 0);
        QCOMPARE(p.gcps.isEmpty(), code != 0);
    }

    void separatorAdviceFollowsLocale()
    {
        qputenv("ZYN_LIST_SEPARATOR", ";");
        QCOMPARE(GcpCopyFormatter::separatorAdvice(),
                 QStringLiteral("Please make sure all row data are tab-separated or semicolon-separated."));
        qputenv("ZYN_LIST_SEPARATOR", "|");
        QCOMPARE(GcpCopyFormatter::separatorAdvice(), QString("Please make sure all row data are tab-separated."));
    }

    // Semicolon mode with decimal commas from the user's locale.
    void semicolonModeReadsDecimalCommas()
    {
        qputenv("ZYN_LIST_SEPARATOR", ";");
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        GcpCopyFormatter semicolon("Name;X;Y;Z\n'A;1';1,5;2,25;3\n");
        const Parsed p = parseOnce(semicolon);
        QVERIFY2(p.ok, qPrintable(p.status.message));
        QCOMPARE(describeAll(p.gcps), QStringList{"A;1 1.5 2.25 3 -"});
    }

    void synonymFile()
    {
        QTemporaryDir dir;
        const auto writeFile = [&](const QString& name, const QByteArray& bytes) {
            QVERIFY(Zyn::TestSupport::writeFile(dir.filePath(name), bytes));
        };
        writeFile("partial.cfg", "<cfg><headers><gcpname><group><name>Punkt</name></group></gcpname>"
                                 "<coord1><name>RW</name></coord1><coord2><name>HW</name></coord2></headers></cfg>");
        writeFile("broken.cfg", "<cfg><headers><gcpname><name>x</name>");
        writeFile("noheaders.cfg", "<cfg><other/></cfg>");

        for (const char* unusable : {"missing.cfg", "broken.cfg", "noheaders.cfg"})
            QVERIFY2(GcpCopyFormatter::loadHeaderSynonyms(dir.filePath(unusable))
                         == GcpCopyFormatter::builtInHeaderSynonyms(), unusable);
        // Roles the file leaves out have no names, not the built-in ones.
        const HeaderSynonyms partial = GcpCopyFormatter::loadHeaderSynonyms(dir.filePath("partial.cfg"));
        QVERIFY(partial.value(Coord3Role).isEmpty());
        QVERIFY(partial.value(CheckpointRole).isEmpty());

        // Only the file's lists apply when it loads.
        qputenv("ZYN_DATA_PATH", QFile::encodeName(dir.path()));
        QFile::copy(dir.filePath("partial.cfg"), dir.filePath("zynphoto_gcp.cfg"));
        GcpCopyFormatter custom("Punkt\tRW\tHW\nA\t1\t2\n");
        QCOMPARE(describeAll(parseOnce(custom).gcps), QStringList{"A 1 2 0 -"});
        GcpCopyFormatter standard("Name\tX\tY\tZ\nA\t1\t2\t3\n");
        QCOMPARE(parseOnce(standard).status.code, int(GcpCopyFormatter::StatusNoHeader));

        // Without the file, the built-in lists are used.
        QFile::remove(dir.filePath("zynphoto_gcp.cfg"));
        GcpCopyFormatter fallback("Name\tX\tY\tZ\nA\t1\t2\t3\n");
        QVERIFY(parseOnce(fallback).ok);
    }

    // Copying rows and pasting them back gives the same records, whatever
    // the names and values, in both separator modes and column orders.
    void copyPasteRoundTrip_data()
    {
        QTest::addColumn<QByteArray>("separator");
        QTest::addColumn<QList<ColumnRole>>("order");
        QTest::addColumn<QStringList>("titles");
        const QList<ColumnRole> standard{NameRole, Coord1Role, Coord2Role, Coord3Role, CheckpointRole};
        QTest::newRow("projected, comma") << QByteArray(",") << standard
                                          << QStringList{"GCP Name", "X", "Y", "Z", "Checkpoint"};
        QTest::newRow("geographic, semicolon") << QByteArray(";") << standard
                                               << QStringList{"GCP Name", "Longitude", "Latitude", "Altitude",
                                                              "Checkpoint"};
        QTest::newRow("reordered") << QByteArray(",")
                                   << QList<ColumnRole>{Coord2Role, NameRole, CheckpointRole, Coord3Role, Coord1Role}
                                   << QStringList{"Y", "GCP Name", "Checkpoint", "Z", "X"};
    }

    void copyPasteRoundTrip()
    {
        QFETCH(QByteArray, separator);
        QFETCH(QList<ColumnRole>, order);
        QFETCH(QStringList, titles);
        qputenv("ZYN_LIST_SEPARATOR", separator);

        const QStringList names{"A", "North, gate", "x;y", "Ünïcode", "12", "has \"quote\", comma", "a b"};
        const double values[] = {0.0, -0.0, 1.0 / 3.0, 1e-300, -123456789.123456789, 6378137.0001,
                                 std::numeric_limits<double>::denorm_min(), 1e22};
        QRandomGenerator rng(99);
        GcpList gcps;
        for (int i = 0; i < 40; ++i) {
            GcpInfo g;
            g.name = names.at(i % names.size()) + QString::number(i);
            // Degrees stay within the globe; a Latitude column beyond it is refused.
            const bool degrees = titles.contains("Latitude");
            g.coord1 = degrees ? std::fmod(values[rng.bounded(8)], 180.0) : values[rng.bounded(8)];
            g.coord2 = degrees ? rng.generateDouble() * 180 - 90 : rng.generateDouble() * 1e6 - 5e5;
            g.coord3 = values[rng.bounded(8)];
            g.checkpoint = rng.bounded(2) == 1;
            gcps << g;
        }
        const QString text = GcpCopyFormatter::format(gcps, order, titles);
        QVERIFY(text.startsWith(titles.join('\t') + '\n'));

        GcpCopyFormatter formatter(text, order);
        const Parsed p = parseOnce(formatter);
        QVERIFY2(p.ok, qPrintable(QStringLiteral("%1 %2").arg(p.status.code).arg(p.status.message)));
        QCOMPARE(describeAll(p.gcps), describeAll(gcps));
    }

    // Names a paste would strip, pair up or split: the copy still keeps every
    // row whole, and a name it can carry (a trailing seconds mark) verbatim.
    void awkwardNamesKeepTheirRows()
    {
        const QStringList names{"\"", "'x'", "\"a\"b'", "a,\"b';c", "\"\"'\"\"\"", " ", "5.10\"", "it's"};
        GcpList gcps;
        for (int i = 0; i < names.size(); ++i)
            gcps << makeGcp(names.at(i), 1000.5 + i, i, i);
        for (const char* separator : {",", ";"}) {
            qputenv("ZYN_LIST_SEPARATOR", separator);
            GcpCopyFormatter formatter(GcpCopyFormatter::format(gcps, {}, {"Name", "X", "Y", "Z", "Checkpoint"}));
            const Parsed p = parseOnce(formatter);
            QVERIFY2(p.ok && p.gcps.size() == gcps.size(), qPrintable(p.status.message));
            for (int i = 0; i < gcps.size(); ++i)
                QVERIFY(p.gcps[i].coord1 == 1000.5 + i && p.gcps[i].coord3 == i && !p.gcps[i].name.trimmed().isEmpty());
            QCOMPARE(p.gcps[6].name, names.at(6));
            QCOMPARE(p.gcps[7].name, names.at(7));
        }
    }

    // The exact text; the round trip only shows that it reads back.
    void formatText()
    {
        const QStringList titles{"GCP Name", "X", "Y", "Z", "Checkpoint"};
        QCOMPARE(GcpCopyFormatter::format({makeGcp("P1", 0.1, 2, -3.5, true)}, {}, titles),
                 QStringLiteral("GCP Name\tX\tY\tZ\tCheckpoint\nP1\t0.10000000000000001\t2\t-3.5\ttrue\n"));
    }

    void normalizeHeader()
    {
        // Units, punctuation and case are covered by the parse table.
        QCOMPARE(GcpCopyFormatter::normalizeHeader("X [ft (US)]"), QStringLiteral("x"));
        QCOMPARE(GcpCopyFormatter::normalizeHeader("Coord1)"), QStringLiteral("coord1"));
    }

    // Each question is asked once; "no" or closing it stops the paste. An error ends it.
    void questions_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("answer"); // to every question
        QTest::addColumn<QStringList>("asked"); // question or error: main text | detail
        QTest::addColumn<QStringList>("pasted");
        const QStringList none;
        const QString invalid = "NAME\tX\tY\tZ\nGCP1\t100\t200\t300\nP7\tabc\t2\t3";
        const QString headerless = "A\t1\t2\t3\nB\t4\t5\nC\t7\t8\t9";
        const QString skipInvalid = "Rows containing invalid data will be skipped. Continue?|";
        const QString noHeader = "No header is found in the copied text.|The GCP data will be pasted as is. Continue "
                                 "pasting anyway?";
        QTest::newRow("clean text asks nothing") << "Name\tX\tY\tZ\nA\t1\t2\t3\nB\t4\t5\t6" << int(TaskDialog::Ok)
                                                 << QStringList{} << QStringList{"A", "B"};
        QTest::newRow("invalid rows: no") << invalid << int(TaskDialog::No) << QStringList{skipInvalid} << none;
        QTest::newRow("invalid rows: yes") << invalid << int(TaskDialog::Yes) << QStringList{skipInvalid}
                                           << QStringList{"GCP1"};
        QTest::newRow("no header, then short rows") << headerless << int(TaskDialog::Yes)
            << QStringList{noHeader, "Rows without valid coordinates will be skipped. Continue?|"}
            << QStringList{"A", "C"};
        QTest::newRow("no header: no") << headerless << int(TaskDialog::No) << QStringList{noHeader} << none;
        QTest::newRow("no header: closed") << headerless << int(TaskDialog::Rejected) << QStringList{noHeader} << none;
        const auto error = [](const char* name, const QString& text, const QString& shown) {
            QTest::newRow(name) << text << int(TaskDialog::Ok) << QStringList{"error: " + shown} << QStringList();
        };
        const QString advice = "Please make sure all row data are tab-separated or comma-separated.";
        error("no data", "\n \n", "No GCP data have been found in the copied text. |");
        error("cannot parse", "A;1;2;3", "The copied text cannot be parsed correctly.|" + advice);
        error("no coordinate columns", "a\tb\nc\td",
              "No coordinate columns were found in the copied text.|The first line names the columns a, b, none of "
              "them X/Y/Z, Easting/Northing/Elevation or Longitude/Latitude/Altitude, and no two neighbouring columns "
              "hold numbers to read as coordinates. " + advice);
        error("not points", "Name\tPixel X\tPixel Y\nA\t1\t2",
              "The copied text holds no survey points.|This text looks like pixel positions in photos (Pixel X, "
              "Pixel Y), not survey points: no X/Y/Z or Easting/Northing/Elevation columns were found.");
    }

    void questions()
    {
        QFETCH(QString, text);
        QFETCH(int, answer);
        QFETCH(QStringList, asked);
        QFETCH(QStringList, pasted);
        m_shown.record(answer);
        const PasteOutcome out = GcpPasteFlow::paste(text, {}, {}, nullptr);
        QStringList shown;
        for (const TaskDialog::Request& s : qAsConst(m_shown)) {
            const bool error = s.kind == TaskDialog::Error;
            shown << (error ? "error: " : "") + s.mainText + '|' + s.secondaryText;
            QCOMPARE(int(s.buttonSet), int(error ? TaskDialog::OkButton : TaskDialog::YesNoButtons));
            QVERIFY(error || s.kind == TaskDialog::Warning);
        }
        QCOMPARE(shown, asked);
        QCOMPARE(names(out.gcps), pasted);
        QCOMPARE(out.cancelled, pasted.isEmpty());
    }

    void existingNamesAreSkipped()
    {
        m_shown.record();
        const PasteOutcome out = GcpPasteFlow::paste("Name\tX\tY\tZ\nA\t1\t2\t3\nb\t4\t5\t6\nC\t7\t8\t9\nc \t0\t0\t0",
                                                     {}, {"a", "B"}, nullptr);
        QCOMPARE(names(out.gcps), QStringList{"C"});
        QCOMPARE(out.skippedExisting, 3);
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown[0].mainText, QStringLiteral("Some points were not pasted, as their names were taken."));
        QCOMPARE(m_shown[0].secondaryText, QStringLiteral("A, b: already in the table\n"
                                                   "c: more than once in the pasted text (the first is kept)"));
        QCOMPARE(pasteGcps("Name\tX\tY\tZ\nD\t1\t2\t3", {}, {"a"}, nullptr).size(), 1);
    }

    void generatedNamesAvoidTheTable()
    {
        m_shown.record(TaskDialog::Yes);
        const PasteOutcome out = GcpPasteFlow::paste("1\t2\t3\n4\t5\t6", {}, {"GCP1"}, nullptr);
        QCOMPARE(names(out.gcps), (QStringList{"GCP2", "GCP3"}));
        QCOMPARE(out.skippedExisting, 0);
    }
};

QTEST_GUILESS_MAIN(TestGcpModel)
#include "tst_gcpmodel.moc"
