// The host's EXIF GPS reader and the embedded processing service: what a
// project folder holds, and that nothing existing is ever overwritten.
#include "TestPhotos.h"

#include <appcreate/PhotoGps.h>
#include <appcreate/ProcessingService.h>
#include <keelcore/Dispatch.h>

#include <QtTest>

#include <support/TestSupport.h>

using namespace Zyn::AppCreate;
using Zyn::TestSupport::readFile;
using Zyn::TestSupport::writeFile;

class TestProcessingService : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid() && m_photos.isValid());
        m_service = ProcessingService::instance();
        QVERIFY(TestPhotos::writeWithGps(photo("ne.jpg"), {46.5480, 7.9820, 1234.5}));
        QVERIFY(TestPhotos::writeWithGps(photo("sw.jpg"), {-33.8568, -70.6483, -12.25}, 1));
        QVERIFY(TestPhotos::writeWithoutGps(photo("nogps.jpg"), 2));
        QVERIFY(TestPhotos::writePlain(photo("plain.jpg"), 3));
        // A JPEG start and an EXIF block header whose content is garbage.
        static const char bytes[] = "\xFF\xD8\xFF\xE1\x00\x10" "Exif\0\0garbage-garbage";
        QVERIFY(writeFile(photo("corrupt.jpg"), QByteArray(bytes, sizeof(bytes) - 1)));
    }
    void init()
    {
        // Every case gets an empty projects folder of its own.
        static int n = 0;
        const QString root = m_dir.filePath(QStringLiteral("projects%1").arg(++n));
        qputenv("ZYN_PROJECTS_DIR", root.toUtf8());
        QCOMPARE(ProcessingService::projectsDirectory(), root);
    }

    // Positions read are the preparation test's; here the reasons given.
    void gpsRefusals_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("error");
        QTest::newRow("no GPS block") << "nogps.jpg" << "GPS";
        QTest::newRow("no EXIF") << "plain.jpg" << "EXIF";
        QTest::newRow("damaged EXIF") << "corrupt.jpg" << ".";
        QTest::newRow("missing") << "absent.jpg" << "does not exist";
        QTest::newRow("no path") << "" << ".";
    }
    void gpsRefusals()
    {
        QFETCH(QString, file);
        QFETCH(QString, error);
        PhotoGpsPosition p;
        p.latitude = 99;
        QString why;
        QVERIFY(!readPhotoGpsPosition(file.isEmpty() ? QString() : photo(file), &p, &why));
        QVERIFY2(why.contains(error), qPrintable(why));
        QCOMPARE(p.latitude, 99.0); // untouched on failure
    }

    void projectNamesThatCannotBeFolders_data()
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
    void projectNamesThatCannotBeFolders()
    {
        QFETCH(QString, name);
        QFETCH(bool, valid);
        QString error;
        QCOMPARE(ProcessingService::isValidProjectName(name, &error), valid);
        QCOMPARE(error.isEmpty(), valid);
        if (name.size() > 64)
            QCOMPARE(error, QStringLiteral("The project name is too long: at most 64 characters."));
        if (!valid) {
            QString folder;
            QVERIFY(!m_service->submitProject(request(name, {"ne.jpg"}), &folder, &error));
            QVERIFY(folder.isEmpty());
            QVERIFY(!QFileInfo::exists(ProcessingService::projectsDirectory() + QStringLiteral("/") + name)
                    || name == QLatin1String(".") || name == QLatin1String("..") || name.trimmed().isEmpty());
        }
    }
    void manifestHoldsExactlyTheRequest()
    {
        const QString gcpFile = m_dir.filePath(QStringLiteral("support/gcp_survey.xml"));
        QVERIFY(QDir().mkpath(QFileInfo(gcpFile).path()) && writeFile(gcpFile, "<survey/>"));

        ProjectRequest request = this->request("Alps_01", {"ne.jpg", "sw.jpg"}, "EPSG:32632");
        request.mesh = true;
        request.pointCloud = false;
        request.orthoMap = true;
        request.pixelSizeMeters = 0.07f;
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
        QCOMPARE(m.value("outputs").toObject(), QJsonObject({{"mesh", true}, {"pointCloud", false}, {"orthoMap", true}}));
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
        QCOMPARE(readFile(QDir(folder).filePath(QStringLiteral("gcp_survey.xml"))), QByteArray("<survey/>"));
        QVERIFY(KeelCore::waitForIdle());

        // Geographic WGS 84 has its own code and EPSG 4326; a missing GCP file is noted as such.
        request.name = QStringLiteral("Geo");
        request.coordSysId = QStringLiteral("LL84");
        request.pixelSizeMeters = 0.01f;
        request.orthoMap = false;
        request.gcpSupportFile = m_dir.filePath(QStringLiteral("support/none.xml"));
        QVERIFY2(m_service->submitProject(request, &folder, &error), qPrintable(error));
        const QJsonObject geo = manifestOf(folder);
        QCOMPARE(geo.value("pixelSizeMeters").toDouble(), 0.01);
        QCOMPARE(geo.value("outputs").toObject().value("orthoMap").toBool(), false);
        QCOMPARE(geo.value("coordinateSystem").toObject().value("epsg").toInt(), 4326);
        QVERIFY(geo.value("gcp").toObject().value("file").isNull());
        QVERIFY(KeelCore::waitForIdle());
    }
    void preparationReadsGpsAndMarksTheState_data()
    {
        QTest::addColumn<QStringList>("photos");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("detail");
        QTest::newRow("ready, one without GPS") << QStringList{"ne.jpg", "nogps.jpg", "sw.jpg"} << "Ready"
                                                << "1 photo(s) without GPS position.";
        QTest::newRow("a photo gone") << QStringList{"ne.jpg", "gone.jpg", "sw.jpg"} << "Failed"
                                      << "1 photo(s) cannot be read.";
    }
    void preparationReadsGpsAndMarksTheState()
    {
        QFETCH(QStringList, photos);
        QFETCH(QString, state);
        QFETCH(QString, detail);
        QSignalSpy changed(m_service, &ProcessingService::projectsChanged);
        QString folder, error;
        QVERIFY2(m_service->submitProject(request("Prepared", photos), &folder, &error), qPrintable(error));
        QVERIFY(KeelCore::waitForIdle());
        QCOMPARE(changed.count(), 2); // submitted, then prepared
        const QJsonObject m = manifestOf(folder);
        QCOMPARE(m.value("state").toString(), state);
        QCOMPARE(m.value("stateDetail").toString(), detail);
        const QJsonArray list = m.value("photos").toArray();
        const auto at = [&list](int i, const char* key) { return list.at(i).toObject().value("gps").toObject().value(key).toDouble(); };
        QVERIFY(qAbs(at(0, "latitude") - 46.5480) < 1e-6 && qAbs(at(0, "longitude") - 7.9820) < 1e-6);
        QVERIFY(qAbs(at(0, "altitude") - 1234.5) < 1e-3);
        QVERIFY(qAbs(at(2, "latitude") + 33.8568) < 1e-6 && qAbs(at(2, "longitude") + 70.6483) < 1e-6);
        QVERIFY(qAbs(at(2, "altitude") + 12.25) < 1e-3);
        QVERIFY(list.at(1).toObject().value("gps").isNull());
        QCOMPARE(list.at(1).toObject().value("error").toString().isEmpty(), state == "Ready");
        const ProjectInfo info = ProcessingService::readProject(folder);
        QCOMPARE(info.name, QStringLiteral("Prepared"));
        QCOMPARE(info.state, state);
        QCOMPARE(info.photoCount, 3);
        QCOMPARE(info.coordSysId, QStringLiteral("LL84"));
    }
    void existingProjectIsNeverOverwritten()
    {
        const QString root = ProcessingService::projectsDirectory();
        const QByteArray kept("{\"name\": \"Taken\", \"state\": \"Ready\"}");
        QVERIFY(QDir().mkpath(root + QStringLiteral("/Taken")) && writeFile(root + QStringLiteral("/Taken/project.json"), kept));

        ProjectRequest request = this->request("Taken", {"ne.jpg"});
        QVERIFY(m_service->projectExists(QStringLiteral("Taken")));
        QSignalSpy changed(m_service, &ProcessingService::projectsChanged);
        QString folder, error;
        QVERIFY(!m_service->submitProject(request, &folder, &error));
        QCOMPARE(error, ProcessingService::projectExistsText(QStringLiteral("Taken")));
        QVERIFY(folder.isEmpty());
        QCOMPARE(changed.count(), 0);
        QCOMPARE(readFile(root + QStringLiteral("/Taken/project.json")), kept);

        // A plain file of that name blocks the name too.
        QVERIFY(writeFile(root + QStringLiteral("/AFile"), QByteArray()));
        request.name = QStringLiteral("AFile");
        QVERIFY(!m_service->submitProject(request, &folder, &error));
        QCOMPARE(QFileInfo(root + QStringLiteral("/AFile")).size(), 0);
    }
    void refusalsLeaveNoFolder_data()
    {
        QTest::addColumn<QString>("coordSys");
        QTest::addColumn<QStringList>("photos");
        QTest::addColumn<QString>("error");
        QTest::newRow("unknown coordinate system") << "EPSG:999999" << QStringList{"ne.jpg"}
                                                   << "The coordinate system \"EPSG:999999\" is not known.";
        QTest::newRow("no photos") << "LL84" << QStringList() << "The project has no photos.";
    }
    void refusalsLeaveNoFolder()
    {
        QFETCH(QString, coordSys);
        QFETCH(QStringList, photos);
        QFETCH(QString, error);
        QString folder, why;
        QVERIFY(!m_service->submitProject(request("Refused", photos, coordSys), &folder, &why));
        QCOMPARE(why, error);
        QVERIFY(!m_service->projectExists(QStringLiteral("Refused")));
    }
    void listNewestFirstAndDamagedManifestAsFailed()
    {
        QVERIFY(m_service->projects().isEmpty()); // no folder yet: an empty list
        ProjectRequest request = this->request(QString(), {"ne.jpg"});
        QString folder, error;
        for (const char* name : {"First", "Second"}) {
            request.name = QLatin1String(name);
            QVERIFY2(m_service->submitProject(request, &folder, &error), qPrintable(error));
            QTest::qWait(5); // distinct creation times
        }
        QVERIFY(KeelCore::waitForIdle());
        const QString root = ProcessingService::projectsDirectory();
        QVERIFY(QDir().mkpath(root + QStringLiteral("/Broken")) && writeFile(root + QStringLiteral("/Broken/project.json"), "{ not json"));

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

private:
    QString photo(const QString& name) const { return m_photos.filePath(name); }
    QJsonObject manifestOf(const QString& folder) const
    {
        return QJsonDocument::fromJson(readFile(QDir(folder).filePath(QStringLiteral("project.json")))).object();
    }
    ProjectRequest request(const QString& name, const QStringList& photos, const QString& coordSys = "LL84") const
    {
        ProjectRequest r;
        r.name = name;
        for (const QString& p : photos)
            r.photos << photo(p);
        r.coordSysId = coordSys;
        return r;
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_photos;
    ProcessingService* m_service = nullptr;
};

QTEST_MAIN(TestProcessingService)
#include "tst_processingservice.moc"
