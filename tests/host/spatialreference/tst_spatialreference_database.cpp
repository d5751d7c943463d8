#include <gis/Gis.h>
#include <spatialreference/ProjContext.h>
#include <spatialreference/SpatialReference.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

using namespace SpatialReference;

// PROJ reads its data directory from the environment when a context is
// created, so each case points the environment somewhere and starts this
// thread's PROJ state afresh.
class TestSpatialReferenceDatabase : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanupTestCase();
    void missingDatabase();
    void corruptDatabase();
    void recoversWhenDatabaseReturns();

private:
    void useDataDirectory(const QString& dir);
    void expectDatabaseError();

    QTemporaryDir m_dir;
};

void TestSpatialReferenceDatabase::init()
{
    QVERIFY(m_dir.isValid());
}

void TestSpatialReferenceDatabase::cleanupTestCase()
{
    qunsetenv("PROJ_DATA");
    qunsetenv("PROJ_LIB");
    Proj::resetThreadState();
}

void TestSpatialReferenceDatabase::useDataDirectory(const QString& dir)
{
    qputenv("PROJ_DATA", QFile::encodeName(dir));
    qputenv("PROJ_LIB", QFile::encodeName(dir));
    Proj::resetThreadState();
}

void TestSpatialReferenceDatabase::expectDatabaseError()
{
    QCOMPARE(databasePath(), QString());
    DefinitionArray* array = reinterpret_cast<DefinitionArray*>(0x1);
    int calls = 0;
    const Status status = CoordinateReferenceSystemDefinition::LoadAll(&array, [&calls](CoordinateReferenceSystemDefinition*, bool&) {
        ++calls;
        return Success;
    });
    QCOMPARE(status, DatabaseError);
    QCOMPARE(array, nullptr);
    QCOMPARE(calls, 0);

    // Everything else degrades quietly too.
    QVERIFY(!CoordinateReferenceSystemDefinition::Create("EPSG:32633"));
    CoordinateReferenceSystemDefinition* ll84 = CoordinateReferenceSystemDefinition::Create("LL84");
    QVERIFY(ll84); // built in, needs no database
    QCOMPARE(ll84->wkt(), QString());
    ll84->Destroy();
    wchar_t buffer[16];
    QCOMPARE(FormatConverter::IdToId_s(0, L"EPSG:32633", 1, buffer, 16), Success);
    QCOMPARE(QString::fromWCharArray(buffer), QString("32633"));

    double x = 500000.0, y = 0.0, z = 1.0;
    QVERIFY(!Tarn::GIS::transformCoordToLL84("EPSG:32633", x, y, z));
    QCOMPARE(x, 500000.0);
    QCOMPARE(y, 0.0);
    QCOMPARE(z, 1.0);
    QVERIFY(!Tarn::GIS::isCoordValid("EPSG:32633", x, y));
    QVERIFY(!Tarn::GIS::isPolarCS("EPSG:4258"));
    QVERIFY(Tarn::GIS::isPolarCS("LL84"));
}

void TestSpatialReferenceDatabase::missingDatabase()
{
    const QString empty = m_dir.filePath("empty");
    QVERIFY(QDir().mkpath(empty));
    useDataDirectory(empty);
    expectDatabaseError();
}

void TestSpatialReferenceDatabase::corruptDatabase()
{
    const QString bad = m_dir.filePath("bad");
    QVERIFY(QDir().mkpath(bad));
    QFile file(bad + "/proj.db");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, '\x5a'));
    file.close();
    useDataDirectory(bad);
    expectDatabaseError();
    QCOMPARE(file.size(), qint64(4096)); // read, never written
}

void TestSpatialReferenceDatabase::recoversWhenDatabaseReturns()
{
    qunsetenv("PROJ_DATA");
    qunsetenv("PROJ_LIB");
    Proj::resetThreadState();
    QVERIFY(!databasePath().isEmpty());
    DefinitionArray* array = nullptr;
    QCOMPARE(CoordinateReferenceSystemDefinition::LoadAll(&array), Success);
    QVERIFY(array && array->GetCount() > 5000);
    array->Destroy();
    double x = 500000.0, y = 0.0, z = 0.0;
    QVERIFY(Tarn::GIS::transformCoordToLL84("EPSG:32633", x, y, z));
    QVERIFY(std::fabs(x - 15.0) < 1e-9);
}

QTEST_GUILESS_MAIN(TestSpatialReferenceDatabase)
#include "tst_spatialreference_database.moc"
