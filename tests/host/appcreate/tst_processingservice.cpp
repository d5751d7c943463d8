// The host's EXIF GPS reader and the embedded processing service: what a
// project folder holds, and that nothing existing is ever overwritten.
#include "GpsJpeg.h"

#include <appcreate/PhotoGps.h>
#include <appcreate/ProcessingService.h>
#include <keelcore/Dispatch.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using namespace Zyn::AppCreate;

class TestProcessingService : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();

    void gpsNorthEastAndSouthWest();
    void gpsMissingOrUnreadable();

    void projectNamesThatCannotBeFolders_data();
    void projectNamesThatCannotBeFolders();
    void manifestHoldsExactlyTheRequest();
    void backgroundPreparationReadsGpsAndMarksReady();
    void missingPhotoMarksProjectFailed();
    void existingProjectIsNeverOverwritten();
    void unknownCoordinateSystemLeavesNoFolder();
    void listNewestFirstAndDamagedManifestAsFailed();

private:
    QString photo(const QString& name) const { return m_photos.filePath(name); }
    QJsonObject manifestOf(const QString& folder) const;

    QTemporaryDir m_dir;
    QTemporaryDir m_photos;
    ProcessingService* m_service = nullptr;
};

void TestProcessingService::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid() && m_photos.isValid());
    m_service = ProcessingService::instance();
    QVERIFY(GpsJpeg::writeWithGps(photo("ne.jpg"), {46.5480, 7.9820, 1234.5}));
    QVERIFY(GpsJpeg::writeWithGps(photo("sw.jpg"), {-33.8568, -70.6483, -12.25}, 1));
    QVERIFY(GpsJpeg::writeWithoutGps(photo("nogps.jpg"), 2));
    QVERIFY(GpsJpeg::writePlain(photo("plain.jpg"), 3));
    QFile corrupt(photo("corrupt.jpg"));
    QVERIFY(corrupt.open(QIODevice::WriteOnly));
    // A JPEG start and an EXIF block header whose content is garbage.
    static const char bytes[] = "\xFF\xD8\xFF\xE1\x00\x10" "Exif\0\0garbage-garbage";
    corrupt.write(bytes, sizeof(bytes) - 1);
    corrupt.close();
}

void TestProcessingService::init()
{
    // Every case gets an empty projects folder of its own.
    static int n = 0;
    const QString root = m_dir.filePath(QStringLiteral("projects%1").arg(++n));
    qputenv("ZYN_PROJECTS_DIR", root.toUtf8());
    QCOMPARE(ProcessingService::projectsDirectory(), root);
}

QJsonObject TestProcessingService::manifestOf(const QString& folder) const
{
    QFile file(QDir(folder).filePath(QStringLiteral("project.json")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

void TestProcessingService::gpsNorthEastAndSouthWest()
{
    PhotoGpsPosition p;
    QString error;
    QVERIFY2(readPhotoGpsPosition(photo("ne.jpg"), &p, &error), qPrintable(error));
    QVERIFY(qAbs(p.latitude - 46.5480) < 1e-6);
    QVERIFY(qAbs(p.longitude - 7.9820) < 1e-6);
    QVERIFY(p.hasAltitude);
    QVERIFY(qAbs(p.altitude - 1234.5) < 1e-3);

    QVERIFY(readPhotoGpsPosition(photo("sw.jpg"), &p));
    QVERIFY(qAbs(p.latitude + 33.8568) < 1e-6);
    QVERIFY(qAbs(p.longitude + 70.6483) < 1e-6);
    QVERIFY(qAbs(p.altitude + 12.25) < 1e-3);
}

void TestProcessingService::gpsMissingOrUnreadable()
{
    PhotoGpsPosition p;
    p.latitude = 99;
    QString error;
    QVERIFY(!readPhotoGpsPosition(photo("nogps.jpg"), &p, &error));
    QVERIFY(error.contains(QStringLiteral("GPS")));
    QCOMPARE(p.latitude, 99.0); // untouched on failure
    QVERIFY(!readPhotoGpsPosition(photo("plain.jpg"), &p, &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(!readPhotoGpsPosition(photo("corrupt.jpg"), &p, &error));
    QVERIFY(!readPhotoGpsPosition(photo("absent.jpg"), &p, &error));
    QVERIFY(error.contains(QStringLiteral("does not exist")));
    QVERIFY(!readPhotoGpsPosition(QString(), &p));
    QVERIFY(!readPhotoGpsPosition(m_photos.path(), &p)); // a folder
}

void TestProcessingService::projectNamesThatCannotBeFolders_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("valid");
    QTest::newRow("plain") << "Survey_2024-05" << true;
    QTest::newRow("dash-underscore") << "-_-" << true;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("spaces") << "   " << false;
    QTest::newRow("dot") << "." << false;
    QTest::newRow("dotdot") << ".." << false;
    QTest::newRow("hidden") << ".support" << false;
    QTest::newRow("slash") << "a/b" << false;
    QTest::newRow("backslash") << "a\\b" << false;
    QTest::newRow("control") << QStringLiteral("a\nb") << false;
    QTest::newRow("trailing space") << "name " << false;
    QTest::newRow("64 characters") << QString(64, QLatin1Char('x')) << true;
    QTest::newRow("65 characters") << QString(65, QLatin1Char('x')) << false;
}

void TestProcessingService::projectNamesThatCannotBeFolders()
{
    QFETCH(QString, name);
    QFETCH(bool, valid);
    QString error;
    QCOMPARE(ProcessingService::isValidProjectName(name, &error), valid);
    QCOMPARE(error.isEmpty(), valid);
    if (name.size() > 64)
        QCOMPARE(error, QStringLiteral("The project name is too long: at most 64 characters."));
    if (!valid) {
        ProjectRequest request;
        request.name = name;
        request.photos = QStringList{photo("ne.jpg")};
        request.coordSysId = QStringLiteral("LL84");
        QString folder;
        QVERIFY(!m_service->submitProject(request, &folder, &error));
        QVERIFY(folder.isEmpty());
        QVERIFY(!QFileInfo::exists(ProcessingService::projectsDirectory() + QStringLiteral("/") + name)
                || name == QLatin1String(".") || name == QLatin1String("..") || name.trimmed().isEmpty());
    }
}

void TestProcessingService::manifestHoldsExactlyTheRequest()
{
    const QString gcpFile = m_dir.filePath(QStringLiteral("support/gcp_survey.xml"));
    QDir().mkpath(QFileInfo(gcpFile).path());
    QFile gcp(gcpFile);
    QVERIFY(gcp.open(QIODevice::WriteOnly));
    gcp.write("<survey/>");
    gcp.close();

    ProjectRequest request;
    request.name = QStringLiteral("Alps_01");
    request.photos = QStringList{photo("ne.jpg"), photo("sw.jpg")};
    request.mesh = true;
    request.pointCloud = false;
    request.orthoMap = true;
    request.pixelSizeMeters = 0.07f;
    request.coordSysId = QStringLiteral("EPSG:32632");
    request.gcpSupportFile = gcpFile;

    QSignalSpy changed(m_service, &ProcessingService::projectsChanged);
    QString folder, error;
    QVERIFY2(m_service->submitProject(request, &folder, &error), qPrintable(error));
    QCOMPARE(folder, ProcessingService::projectsDirectory() + QStringLiteral("/Alps_01"));
    QCOMPARE(changed.count(), 1);

    const QJsonObject m = manifestOf(folder);
    QCOMPARE(m.value("format").toString(), QStringLiteral("zynphoto-project"));
    QCOMPARE(m.value("version").toInt(), 1);
    QCOMPARE(m.value("name").toString(), QStringLiteral("Alps_01"));
    QCOMPARE(m.value("state").toString(), QStringLiteral("Queued"));
    QVERIFY(QDateTime::fromString(m.value("created").toString(), Qt::ISODateWithMs).isValid());
    const QJsonObject outputs = m.value("outputs").toObject();
    QCOMPARE(outputs.value("mesh").toBool(), true);
    QCOMPARE(outputs.value("pointCloud").toBool(), false);
    QCOMPARE(outputs.value("orthoMap").toBool(), true);
    // The float the flyout gave, as the value the user chose.
    QCOMPARE(m.value("pixelSizeMeters").toDouble(), 0.07);
    const QJsonObject cs = m.value("coordinateSystem").toObject();
    QCOMPARE(cs.value("code").toString(), QStringLiteral("EPSG:32632"));
    QCOMPARE(cs.value("epsg").toInt(), 32632);
    QVERIFY(cs.value("wkt").toString().contains(QStringLiteral("UTM zone 32N")));
    const QJsonArray photos = m.value("photos").toArray();
    QCOMPARE(photos.size(), 2);
    QCOMPARE(photos.at(0).toObject().value("path").toString(), photo("ne.jpg"));
    QCOMPARE(photos.at(1).toObject().value("path").toString(), photo("sw.jpg"));
    const QJsonObject gcpInfo = m.value("gcp").toObject();
    QCOMPARE(gcpInfo.value("supportFile").toString(), gcpFile);
    QCOMPARE(gcpInfo.value("file").toString(), QStringLiteral("gcp_survey.xml"));
    QFile copy(QDir(folder).filePath(QStringLiteral("gcp_survey.xml")));
    QVERIFY(copy.open(QIODevice::ReadOnly));
    QCOMPARE(copy.readAll(), QByteArray("<survey/>"));
    QVERIFY(KeelCore::waitForIdle());

    // Geographic WGS 84 has its own code and EPSG 4326; a missing GCP file is noted as such.
    request.name = QStringLiteral("Geo");
    request.coordSysId = QStringLiteral("LL84");
    request.pixelSizeMeters = 0.01f;
    request.gcpSupportFile = m_dir.filePath(QStringLiteral("support/none.xml"));
    QVERIFY2(m_service->submitProject(request, &folder, &error), qPrintable(error));
    const QJsonObject geo = manifestOf(folder);
    QCOMPARE(geo.value("pixelSizeMeters").toDouble(), 0.01);
    QCOMPARE(geo.value("coordinateSystem").toObject().value("epsg").toInt(), 4326);
    QVERIFY(geo.value("gcp").toObject().value("file").isNull());
    QVERIFY(KeelCore::waitForIdle());
}

void TestProcessingService::backgroundPreparationReadsGpsAndMarksReady()
{
    ProjectRequest request;
    request.name = QStringLiteral("Ready1");
    request.photos = QStringList{photo("ne.jpg"), photo("nogps.jpg"), photo("sw.jpg")};
    request.coordSysId = QStringLiteral("LL84");
    QSignalSpy changed(m_service, &ProcessingService::projectsChanged);
    QString folder, error;
    QVERIFY2(m_service->submitProject(request, &folder, &error), qPrintable(error));
    QVERIFY(KeelCore::waitForIdle());
    QCOMPARE(changed.count(), 2); // submitted, then prepared

    const QJsonObject m = manifestOf(folder);
    QCOMPARE(m.value("state").toString(), QStringLiteral("Ready"));
    QVERIFY(m.value("stateDetail").toString().contains(QStringLiteral("without GPS")));
    const QJsonArray photos = m.value("photos").toArray();
    const QJsonObject ne = photos.at(0).toObject().value("gps").toObject();
    QVERIFY(qAbs(ne.value("latitude").toDouble() - 46.5480) < 1e-6);
    QVERIFY(qAbs(ne.value("longitude").toDouble() - 7.9820) < 1e-6);
    QVERIFY(qAbs(ne.value("altitude").toDouble() - 1234.5) < 1e-3);
    QVERIFY(photos.at(1).toObject().value("gps").isNull());
    QVERIFY(photos.at(2).toObject().value("gps").toObject().value("longitude").toDouble() < 0);

    const ProjectInfo info = ProcessingService::readProject(folder);
    QCOMPARE(info.name, QStringLiteral("Ready1"));
    QCOMPARE(info.state, QStringLiteral("Ready"));
    QCOMPARE(info.photoCount, 3);
    QCOMPARE(info.coordSysId, QStringLiteral("LL84"));
}

void TestProcessingService::missingPhotoMarksProjectFailed()
{
    ProjectRequest request;
    request.name = QStringLiteral("Missing");
    request.photos = QStringList{photo("ne.jpg"), photo("gone.jpg")};
    request.coordSysId = QStringLiteral("LL84");
    QString folder, error;
    QVERIFY2(m_service->submitProject(request, &folder, &error), qPrintable(error));
    QVERIFY(KeelCore::waitForIdle());
    const QJsonObject m = manifestOf(folder);
    QCOMPARE(m.value("state").toString(), QStringLiteral("Failed"));
    QVERIFY(m.value("stateDetail").toString().contains(QStringLiteral("cannot be read")));
    QVERIFY(!m.value("photos").toArray().at(1).toObject().value("error").toString().isEmpty());
}

void TestProcessingService::existingProjectIsNeverOverwritten()
{
    const QString root = ProcessingService::projectsDirectory();
    QVERIFY(QDir().mkpath(root + QStringLiteral("/Taken")));
    QFile keep(root + QStringLiteral("/Taken/project.json"));
    QVERIFY(keep.open(QIODevice::WriteOnly));
    keep.write("{\"name\": \"Taken\", \"state\": \"Ready\"}");
    keep.close();

    ProjectRequest request;
    request.name = QStringLiteral("Taken");
    request.photos = QStringList{photo("ne.jpg")};
    request.coordSysId = QStringLiteral("LL84");
    QVERIFY(m_service->projectExists(QStringLiteral("Taken")));
    QSignalSpy changed(m_service, &ProcessingService::projectsChanged);
    QString folder, error;
    QVERIFY(!m_service->submitProject(request, &folder, &error));
    QVERIFY(error.contains(QStringLiteral("already exists")));
    QVERIFY(folder.isEmpty());
    QCOMPARE(changed.count(), 0);
    QVERIFY(keep.open(QIODevice::ReadOnly));
    QCOMPARE(keep.readAll(), QByteArray("{\"name\": \"Taken\", \"state\": \"Ready\"}"));

    // A plain file of that name blocks the name too.
    QFile file(root + QStringLiteral("/AFile"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    request.name = QStringLiteral("AFile");
    QVERIFY(!m_service->submitProject(request, &folder, &error));
    QCOMPARE(QFileInfo(root + QStringLiteral("/AFile")).size(), 0);
}

void TestProcessingService::unknownCoordinateSystemLeavesNoFolder()
{
    ProjectRequest request;
    request.name = QStringLiteral("BadCs");
    request.photos = QStringList{photo("ne.jpg")};
    request.coordSysId = QStringLiteral("EPSG:999999");
    QString folder, error;
    QVERIFY(!m_service->submitProject(request, &folder, &error));
    QVERIFY(error.contains(QStringLiteral("EPSG:999999")));
    QVERIFY(!m_service->projectExists(QStringLiteral("BadCs")));

    request.coordSysId = QStringLiteral("LL84");
    request.photos.clear();
    QVERIFY(!m_service->submitProject(request, &folder, &error));
    QVERIFY(error.contains(QStringLiteral("no photos")));
    QVERIFY(!m_service->projectExists(QStringLiteral("BadCs")));
}

void TestProcessingService::listNewestFirstAndDamagedManifestAsFailed()
{
    QVERIFY(m_service->projects().isEmpty()); // no folder yet: an empty list
    ProjectRequest request;
    request.photos = QStringList{photo("ne.jpg")};
    request.coordSysId = QStringLiteral("LL84");
    QString folder, error;
    for (const char* name : {"First", "Second"}) {
        request.name = QLatin1String(name);
        QVERIFY2(m_service->submitProject(request, &folder, &error), qPrintable(error));
        QTest::qWait(5); // distinct creation times
    }
    QVERIFY(KeelCore::waitForIdle());
    const QString root = ProcessingService::projectsDirectory();
    QVERIFY(QDir().mkpath(root + QStringLiteral("/Broken")));
    QFile broken(root + QStringLiteral("/Broken/project.json"));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write("{ not json");
    broken.close();

    const QList<ProjectInfo> projects = m_service->projects();
    QStringList names;
    for (const ProjectInfo& p : projects)
        names << p.name;
    // The broken one has the folder's time, newer than both.
    QCOMPARE(names, QStringList({"Broken", "Second", "First"}));
    QCOMPARE(projects.at(0).state, QStringLiteral("Failed"));
    QVERIFY(projects.at(0).stateDetail.contains(QStringLiteral("damaged")));
    QCOMPARE(projects.at(1).state, QStringLiteral("Ready"));
}

QTEST_MAIN(TestProcessingService)
#include "tst_processingservice.moc"
