#include <gcp/model/GcpCopyFormatter.h>
#include <gcp/model/GcpPasteFlow.h>

#include <support/TestSupport.h>
#include <uibase/TaskDialog.h>

#include <QtTest>

#include <cmath>
#include <limits>

using namespace Zyn::AppGcp;
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
    return QStringLiteral("%1 %2 %3 %4 %5")
        .arg(g.name)
        .arg(g.coord1, 0, 'g', 17)
        .arg(g.coord2, 0, 'g', 17)
        .arg(g.coord3, 0, 'g', 17)
        .arg(g.checkpoint ? "cp" : "-");
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

} // namespace

// The formatter, and the paste dialogs around it answered through the task-dialog seam.
class TestGcpCopyFormatter : public QObject {
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
        qputenv("ZYN_LIST_SEPARATOR", ",");
        qputenv("ZYN_DATA_PATH", m_shippedData);
        QLocale::setDefault(QLocale::c());
    }

    void cleanup()
    {
        TaskDialog::clearHandler();
        qunsetenv("ZYN_LIST_SEPARATOR");
        qputenv("ZYN_DATA_PATH", m_shippedData);
        QLocale::setDefault(QLocale::c());
    }

    // What a first parse answers, and the records once the paste dialogs'
    // questions (skip invalid rows, paste without a header) are answered yes.
    void parse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("first"); // status code of the first parse
        QTest::addColumn<QString>("reason"); // its message, for invalid rows
        QTest::addColumn<QStringList>("records");
        QTest::addColumn<QStringList>("existing");
        const int noHeader = GcpCopyFormatter::StatusNoHeader, invalid = GcpCopyFormatter::StatusInvalidRows,
                  noData = GcpCopyFormatter::StatusNoData;
        const QStringList none;
        QTest::newRow("NAME X Y Z") << "NAME\tX\tY\tZ\nGCP1\t100\t200\t300\n" << 0 << "" << QStringList{"GCP1 100 200 300 -"} << none;
        QTest::newRow("units, BOM, CRLF, trailing separator")
            << QStringLiteral("\ufeffLabel\tEasting (m)\tNorthing [m]\tElevation (m)\t\r\nA1\t5.5\t6\t7\t\r\n") << 0 << ""
            << QStringList{"A1 5.5 6 7 -"} << none;
        QTest::newRow("columns in another order, extra columns")
            << "Code\tN\tE\tGCP Label\tH\tAccuracy\tCheck\nk\t2\t1\tP1\t3\t0.01\ttrue\nk\t5\t4\tP2\t6\t0.02\tfalse\n" << 0
            << "" << QStringList{"P1 1 2 3 cp", "P2 4 5 6 -"} << none;
        QTest::newRow("title line above the header")
            << "Survey of 2024-05-01\nPoint Name,Lat,Long,Ellipsoidal height\n\"North, gate\",47.5,8.25,401.5\n" << 0
            << "" << QStringList{"North, gate 8.25 47.5 401.5 -"} << none;
        QTest::newRow("no name column: default names") << "x\ty\tz\n1\t2\t3\n4\t5\t6\n" << 0 << ""
                                                       << QStringList{"GCP1 1 2 3 -", "GCP2 4 5 6 -"} << none;
        QTest::newRow("two coordinates suffice") << "id,x,y\nA,1,2\n" << 0 << "" << QStringList{"A 1 2 0 -"} << none;
        QTest::newRow("blank lines between rows") << "\n\nname\tx\ty\tz\n\n \nA\t1\t2\t3\n\n" << 0 << ""
                                                  << QStringList{"A 1 2 3 -"} << none;
        QTest::newRow("quoted cell with spaces and a doubled quote")
            << QStringLiteral("Name\tX\tY\n\"12 deg 30' 5.10\"\" N\"\t1\t2\n") << 0 << ""
            << QStringList{"12 deg 30' 5.10\" N 1 2 0 -"} << none;
        QTest::newRow("GIS export") << "#Label\tPOINT_X\tPOINT_Y\tPOINT_Z\nA\t1\t2\t3\n" << 0 << ""
                                    << QStringList{"A 1 2 3 -"} << none;
        QTest::newRow("axis and meaning") << "local_id,X/Longitude,Y/Latitude,Z/Altitude\nB,1,2,3\n" << 0 << ""
                                          << QStringList{"B 1 2 3 -"} << none;
        QTest::newRow("station with abbreviations") << "Station\tE\tN\tElev\nC\t1\t2\t3\n" << 0 << ""
                                                    << QStringList{"C 1 2 3 -"} << none;

        QTest::newRow("invalid data") << "NAME\tX\tY\tZ\nP1\t1\t2\t3\nP7\tabc\t2\t3\n" << invalid
                                      << "containing invalid data" << QStringList{"P1 1 2 3 -"} << none;
        QTest::newRow("too short for coordinates") << "NAME\tX\tY\tZ\nP1\t1\t2\nP2\t4\t5\t6\n" << invalid
                                                   << "without valid coordinates" << QStringList{"P2 4 5 6 -"} << none;
        QTest::newRow("too short for the name") << "X\tY\tZ\tName\n1\t2\t3\n4\t5\t6\tP2\n" << invalid
                                                << "without a valid GCP name" << QStringList{"P2 4 5 6 -"} << none;
        QTest::newRow("blank cell shifts the row") << "Name\tX\tY\tZ\nP1\t\t2\t3\nP2\t4\t5\t6\n" << invalid
                                                   << "without valid coordinates" << QStringList{"P2 4 5 6 -"} << none;
        QTest::newRow("blank name") << "Name\tX\tY\tZ\n \t1\t2\t3\nP2\t4\t5\t6\n" << invalid
                                    << "without a valid GCP name" << QStringList{"P2 4 5 6 -"} << none;
        QTest::newRow("doubled quotes only are a field of quotes") << "Name\tX\tY\tZ\n'\"\"'\t1\t2\t3\nP2\t4\t5\t6\n"
                                                                 << invalid << "without valid coordinates"
                                                                 << QStringList{"P2 4 5 6 -"} << none;
        QTest::newRow("latitude beyond the pole") << "Name,Lat,Lon\nA,46.5,6.5\nB,95,6.5\n" << invalid
                                                  << "with a latitude outside ±90°" << QStringList{"A 6.5 46.5 0 -"} << none;

        const QStringList empties{"", "\n\n\n", "\r\n  \r\n\t\r\n", ",,,\n\t\t\n", "Name\tX\tY\tZ\n"};
        for (const QString& empty : empties) // blank, CRLF and spaces, separators only, header only
            QTest::addRow("no data %d", int(empties.indexOf(empty))) << empty << noData << "" << none << none;
        QTest::newRow("every row skipped") << "Name\tX\tY\tZ\n \t1\t2\t3\n" << invalid << "without a valid GCP name"
                                           << none << none;

        QTest::newRow("headerless") << "P1\t1\t2\t3\nP2\t4\t5\t6" << noHeader << ""
                                    << QStringList{"P1 1 2 3 -", "P2 4 5 6 -"} << none;
        QTest::newRow("numeric point numbers") << "101,10.5,20.5,30.5\n102,11,21,31" << noHeader << ""
                                               << QStringList{"101 10.5 20.5 30.5 -", "102 11 21 31 -"} << none;
        QTest::newRow("coordinates only, names avoid the table") << "1\t2\t3\n4\t5\t6" << noHeader << ""
            << QStringList{"GCP2 1 2 3 -", "GCP4 4 5 6 -"} << QStringList{"gcp1", "GCP3"};
        QTest::newRow("checkpoint column") << "A\t1\t2\t3\tTRUE\nB\t4\t5\t6\tfalse" << noHeader << ""
                                           << QStringList{"A 1 2 3 cp", "B 4 5 6 -"} << none;
        QTest::newRow("text columns before, extra after")
            << "A\tcode\t1\t2\t3\t0.01\t0.02\nB\tcode\t4\t5\t6\t0.01\t0.02" << noHeader << ""
            << QStringList{"A 1 2 3 -", "B 4 5 6 -"} << none;
        QTest::newRow("unrecognised header line is not data") << "Punkt\tRechtswert\tHochwert\tHoehe\nA\t1\t2\t3"
                                                              << noHeader << "" << QStringList{"A 1 2 3 -"} << none;
    }

    void parse()
    {
        QFETCH(QString, text);
        QFETCH(int, first);
        QFETCH(QString, reason);
        QFETCH(QStringList, records);
        QFETCH(QStringList, existing);
        GcpCopyFormatter formatter(text);
        formatter.setExistingNames(existing);
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
        const Parsed p = parseOnce(formatter);
        QVERIFY(p.ok);
        QCOMPARE(describeAll(p.gcps), QStringList{"P1 2 1 3 -"});
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
        QCOMPARE(GcpCopyFormatter::separatorAdvice(), QStringLiteral("Please make sure all row data are tab-separated."));
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

        const HeaderSynonyms builtIn = GcpCopyFormatter::builtInHeaderSynonyms();
        QCOMPARE(GcpCopyFormatter::loadHeaderSynonyms(dir.filePath("missing.cfg")), builtIn);
        QCOMPARE(GcpCopyFormatter::loadHeaderSynonyms(dir.filePath("broken.cfg")), builtIn);
        QCOMPARE(GcpCopyFormatter::loadHeaderSynonyms(dir.filePath("noheaders.cfg")), builtIn);

        const HeaderSynonyms partial = GcpCopyFormatter::loadHeaderSynonyms(dir.filePath("partial.cfg"));
        QCOMPARE(partial.value(NameRole), QStringList{"Punkt"});
        QCOMPARE(partial.value(Coord1Role), QStringList{"RW"});
        QVERIFY(partial.value(Coord3Role).isEmpty());
        QVERIFY(partial.value(CheckpointRole).isEmpty());

        // Only the file's lists apply when it loads.
        qputenv("ZYN_DATA_PATH", QFile::encodeName(dir.path()));
        QFile::copy(dir.filePath("partial.cfg"), dir.filePath("zynphoto_gcp.cfg"));
        GcpCopyFormatter custom("Punkt\tRW\tHW\nA\t1\t2\n");
        Parsed p = parseOnce(custom);
        QVERIFY(p.ok);
        QCOMPARE(describeAll(p.gcps), QStringList{"A 1 2 0 -"});
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
        QVERIFY(formatter.headerFound());
        QCOMPARE(p.gcps.size(), gcps.size());
        for (int i = 0; i < gcps.size(); ++i) {
            QCOMPARE(p.gcps[i].name, gcps[i].name);
            QCOMPARE(p.gcps[i].coord1, gcps[i].coord1);
            QCOMPARE(p.gcps[i].coord2, gcps[i].coord2);
            QCOMPARE(p.gcps[i].coord3, gcps[i].coord3);
            QCOMPARE(p.gcps[i].checkpoint, gcps[i].checkpoint);
        }
    }

    // Names a paste would strip, pair up or split: the copy still keeps every
    // row whole, and a name it can carry (a trailing seconds mark) verbatim.
    void awkwardNamesKeepTheirRows()
    {
        const QStringList names{"\"", "'x'", "\"a\"b'", "a,\"b';c", "\"\"'\"\"\"", " ", "5.10\"", "it's"};
        GcpList gcps;
        for (int i = 0; i < names.size(); ++i) {
            GcpInfo g;
            g.name = names.at(i);
            g.coord1 = 1000.5 + i;
            g.coord3 = g.coord2 = i;
            gcps << g;
        }
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

    // Exact text: the round trip compares doubles only to 1e-12.
    void formatText()
    {
        GcpInfo g;
        g.name = QStringLiteral("P1");
        g.coord1 = 0.1;
        g.coord2 = 2;
        g.coord3 = -3.5;
        g.checkpoint = true;
        QCOMPARE(GcpCopyFormatter::format({g}, {}, {"GCP Name", "X", "Y", "Z", "Checkpoint"}),
                 QStringLiteral("GCP Name\tX\tY\tZ\tCheckpoint\nP1\t0.10000000000000001\t2\t-3.5\ttrue\n"));
    }

    void normalizeHeader()
    {
        // Units, punctuation and case are covered by the parse table.
        QCOMPARE(GcpCopyFormatter::normalizeHeader("X [ft (US)]"), QStringLiteral("x"));
        QCOMPARE(GcpCopyFormatter::normalizeHeader("Coord1)"), QStringLiteral("coord1"));
    }

    // Each question is asked once; "no" or closing it stops the paste. An
    // error ends it.
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
        const QString advice = "Please make sure all row data are tab-separated or comma-separated.";
        QTest::newRow("no data") << "\n \n" << int(TaskDialog::Ok)
                                 << QStringList{"error: No GCP data have been found in the copied text. |"} << none;
        QTest::newRow("cannot parse") << "A;1;2;3" << int(TaskDialog::Ok)
                                      << QStringList{"error: The copied text cannot be parsed correctly.|" + advice}
                                      << none;
        QTest::newRow("no coordinate columns") << "a\tb\nc\td" << int(TaskDialog::Ok)
            << QStringList{"error: No coordinate columns were found in the copied text.|The first line names the "
                           "columns a, b, none of them X/Y/Z, Easting/Northing/Elevation or Longitude/Latitude/"
                           "Altitude, and no two neighbouring columns hold numbers to read as coordinates. " + advice}
            << none;
        QTest::newRow("not points") << "Name\tPixel X\tPixel Y\nA\t1\t2" << int(TaskDialog::Ok)
            << QStringList{"error: The copied text holds no survey points.|This text looks like pixel positions in "
                           "photos (Pixel X, Pixel Y), not survey points: no X/Y/Z or Easting/Northing/Elevation "
                           "columns were found."}
            << none;
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

QTEST_GUILESS_MAIN(TestGcpCopyFormatter)
#include "tst_gcpcopyformatter.moc"
