#include <gis/Gis.h>
#include <spatialreference/ProjContext.h>
#include <spatialreference/SpatialReference.h>
#include <support/TestSupport.h>

#include <QtTest>

#include <cmath>

using namespace SpatialReference;
using Definition = CoordinateReferenceSystemDefinition;

namespace {
// PROJ reads its data directory from the environment when a context is
// created, so each case points the environment somewhere and starts this
// thread's PROJ state afresh.
void useDataDirectory(const QString& dir)
{
    if (dir.isEmpty()) {
        qunsetenv("PROJ_DATA");
        qunsetenv("PROJ_LIB");
    } else {
        qputenv("PROJ_DATA", QFile::encodeName(dir));
        qputenv("PROJ_LIB", QFile::encodeName(dir));
    }
    Proj::resetThreadState();
}
} // namespace

class TestSpatialReferenceDatabase : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

private slots:
    void cleanupTestCase() { useDataDirectory(QString()); }

    void brokenDatabaseDegradesQuietly_data()
    {
        QTest::addColumn<QByteArray>("database"); // proj.db's bytes; empty for no file
        QTest::newRow("missing") << QByteArray();
        QTest::newRow("corrupt") << QByteArray(4096, '\x5a');
    }
    void brokenDatabaseDegradesQuietly()
    {
        QFETCH(QByteArray, database);
        const QString dir = m_dir.filePath(QTest::currentDataTag());
        QVERIFY(QDir().mkpath(dir));
        if (!database.isEmpty())
            QVERIFY(Zyn::TestSupport::writeFile(dir + "/proj.db", database));
        useDataDirectory(dir);
        QCOMPARE(databasePath(), QString());
        DefinitionArray* array = reinterpret_cast<DefinitionArray*>(0x1);
        int calls = 0;
        QCOMPARE(Definition::LoadAll(&array, [&calls](Definition*, bool&) {
                     ++calls;
                     return Success;
                 }),
                 DatabaseError);
        QCOMPARE(array, nullptr);
        QCOMPARE(calls, 0);

        // Everything else degrades quietly too.
        QVERIFY(!Definition::Create("EPSG:32633"));
        Definition* ll84 = Definition::Create("LL84");
        QVERIFY(ll84); // built in, needs no database
        QCOMPARE(ll84->wkt(), QString());
        ll84->Destroy();
        wchar_t buffer[16];
        QCOMPARE(FormatConverter::IdToId_s(0, L"EPSG:32633", 1, buffer, 16), Success);
        QCOMPARE(QString::fromWCharArray(buffer), QString("32633"));
        double x = 500000.0, y = 0.0, z = 1.0;
        QVERIFY(!Tarn::GIS::transformCoordToLL84("EPSG:32633", x, y, z));
        QVERIFY(x == 500000.0 && y == 0.0 && z == 1.0);
        QVERIFY(!Tarn::GIS::isCoordValid("EPSG:32633", x, y));
        QVERIFY(!Tarn::GIS::isPolarCS("EPSG:4258"));
        QVERIFY(Tarn::GIS::isPolarCS("LL84"));
        QCOMPARE(QFileInfo(dir + "/proj.db").size(), qint64(database.size())); // read, never written
    }

    void recoversWhenDatabaseReturns()
    {
        useDataDirectory(QString());
        QVERIFY(!databasePath().isEmpty());
        DefinitionArray* array = nullptr;
        QCOMPARE(Definition::LoadAll(&array), Success);
        QVERIFY(array && array->GetCount() > 5000);
        array->Destroy();
        double x = 500000.0, y = 0.0, z = 0.0;
        QVERIFY(Tarn::GIS::transformCoordToLL84("EPSG:32633", x, y, z));
        QVERIFY(std::fabs(x - 15.0) < 1e-9);
    }
};

QTEST_GUILESS_MAIN(TestSpatialReferenceDatabase)
#include "tst_spatialreference_database.moc"
