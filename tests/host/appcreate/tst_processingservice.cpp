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
            const auto hidden = QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden;
            QCOMPARE(QDir(ProcessingService::projectsDirectory()).entryList(hidden), QStringList());
        }
    }
    void manifestHoldsExactlyTheRequest()
    {
        const QString gcpFile = m_dir.filePath(QStringLiteral("support/gcp_survey.xml"));
        QVERIFY(QDir().mkpath(QFileInfo(gcpFile).path()) && writeFile(gcpFile, "<survey/>"));

        ProjectRequest request{"Alps_01", photos({"ne.jpg", "sw.jpg"}), true, false, true, 0.07f, "EPSG:32632",
                               gcpFile};
        QString folder, error;
        QVERIFY2(m_service->submitProject(request, &folder, &error), qPrintable(error));
        QCOMPARE(folder, ProcessingService::projectsDirectory() + QStringLiteral("/Alps_01"));

        const QJsonObject m = manifestOf(folder);
        QVERIFY(QDateTime::fromString(m.value("created").toString(), Qt::ISODateWithMs).isValid());
        QVERIFY(fields(m, {"coordinateSystem/wkt"}).at(0).contains(QStringLiteral("UTM zone 32N")));
        // The pixel size is the float the flyout gave, as the value the user chose.
        QCOMPARE(fields(m, {"format", "version", "name", "state", "outputs", "pixelSizeMeters", "coordinateSystem/code",
                            "coordinateSystem/epsg", "photos/0/path", "photos/1/path", "gcp/supportFile", "gcp/file"}),
                 QStringList({"zynphoto-project", "1", "Alps_01", "Queued",
                              R"({"mesh":true,"orthoMap":true,"pointCloud":false})", "0.07", "EPSG:32632", "32632",
                              photo("ne.jpg"), photo("sw.jpg"), gcpFile, "gcp_survey.xml"}));
        QCOMPARE(m.value("photos").toArray().size(), 2);
        QCOMPARE(readFile(QDir(folder).filePath(QStringLiteral("gcp_survey.xml"))), QByteArray("<survey/>"));
        QVERIFY(KeelCore::waitForIdle());

        // Geographic WGS 84 has its own code and EPSG 4326; a missing GCP file is noted as such.
        request = {"Geo", request.photos, true, false, false, 0.01f, "LL84", m_dir.filePath("support/none.xml")};
        QVERIFY2(m_service->submitProject(request, &folder, &error), qPrintable(error));
        QCOMPARE(fields(manifestOf(folder), {"pixelSizeMeters", "outputs/orthoMap", "coordinateSystem/epsg",
                                             "gcp/file"}),
                 QStringList({"0.01", "false", "4326", "null"}));
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
        QCOMPARE(fields(m, {"state", "stateDetail", "photos/1/gps"}), QStringList({state, detail, "null"}));
        const QJsonArray list = m.value("photos").toArray();
        const auto at = [&list](int i, const char* key) {
            return list.at(i).toObject().value("gps").toObject().value(key).toDouble();
        };
        QVERIFY(qAbs(at(0, "latitude") - 46.5480) < 1e-6 && qAbs(at(0, "longitude") - 7.9820) < 1e-6);
        QVERIFY(qAbs(at(0, "altitude") - 1234.5) < 1e-3);
        QVERIFY(qAbs(at(2, "latitude") + 33.8568) < 1e-6 && qAbs(at(2, "longitude") + 70.6483) < 1e-6);
        QVERIFY(qAbs(at(2, "altitude") + 12.25) < 1e-3);
        QCOMPARE(list.at(1).toObject().value("error").toString().isEmpty(), state == "Ready");
        const ProjectInfo info = ProcessingService::readProject(folder);
        QCOMPARE(QStringList({info.name, info.state, QString::number(info.photoCount), info.coordSysId}),
                 QStringList({"Prepared", state, "3", "LL84"}));
    }
    void existingProjectIsNeverOverwritten()
    {
        const QString root = ProcessingService::projectsDirectory();
        const QByteArray kept("{\"name\": \"Taken\", \"state\": \"Ready\"}");
        QVERIFY(QDir(root).mkpath("Taken") && writeFile(root + QStringLiteral("/Taken/project.json"), kept));

        ProjectRequest request = this->request("Taken", {"ne.jpg"});
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
        QVERIFY(QDir(root).mkpath("Broken") && writeFile(root + QStringLiteral("/Broken/project.json"), "{ not json"));

        const QList<ProjectInfo> projects = m_service->projects();
        QStringList rows;
        for (const ProjectInfo& p : projects)
            rows << p.name + ": " + p.state;
        // The broken one has the folder's time, newer than both.
        QCOMPARE(rows, QStringList({"Broken: Failed", "Second: Ready", "First: Ready"}));
        QVERIFY(projects.at(0).stateDetail.contains(QStringLiteral("damaged")));
    }

private:
    QString photo(const QString& name) const { return m_photos.filePath(name); }
    QJsonObject manifestOf(const QString& folder) const
    {
        return QJsonDocument::fromJson(readFile(QDir(folder).filePath(QStringLiteral("project.json")))).object();
    }
    QStringList photos(const QStringList& names) const
    {
        QStringList paths;
        for (const QString& name : names)
            paths << photo(name);
        return paths;
    }
    ProjectRequest request(const QString& name, const QStringList& names, const QString& coordSys = "LL84") const
    {
        return {name, photos(names), true, false, false, 0.01f, coordSys};
    }
    // The manifest's values at slash-separated paths ("photos/0/path"): strings as they are, the rest as JSON.
    static QStringList fields(const QJsonObject& manifest, const QStringList& paths)
    {
        QStringList values;
        for (const QString& path : paths) {
            QJsonValue v = manifest;
            for (const QString& key : path.split('/'))
                v = v.isArray() ? v.toArray().at(key.toInt()) : v.toObject().value(key);
            const QByteArray json = QJsonDocument(QJsonArray{v}).toJson(QJsonDocument::Compact);
            values << (v.isString() ? v.toString() : v.isUndefined() ? "(missing)" : json.mid(1, json.size() - 2));
        }
        return values;
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_photos;
    ProcessingService* m_service = nullptr;
};

QTEST_MAIN(TestProcessingService)
#include "tst_processingservice.moc"
