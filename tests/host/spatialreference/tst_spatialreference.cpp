#include <spatialreference/CatalogueReader.h>
#include <spatialreference/SpatialReference.h>

#include <QtConcurrent>
#include <QtTest>

using namespace SpatialReference;
using Definition = CoordinateReferenceSystemDefinition;

namespace {

// Owns one reference for the length of a scope.
struct Release {
    template <typename T>
    void operator()(T* object) const { object->Destroy(); }
};
template <typename T>
using Ref = std::unique_ptr<T, Release>;

struct Row {
    QString code, description, datum, epsg;
    UnitCode unit;
    int type;
    // All but the datum, which the catalogue may name differently.
    QString text() const { return QString("%1|%2|%3|%4|%5").arg(code, description, epsg).arg(int(unit)).arg(type); }
};

Row rowOf(const Definition* def)
{
    return {def->code(), def->description(), def->datum(), def->epsg(), def->unit(), def->type()};
}

int loadCount()
{
    DefinitionArray* array = nullptr;
    const Status status = Definition::LoadAll(&array);
    const Ref<DefinitionArray> owned(array);
    return status == Success && array ? array->GetCount() : -1;
}

} // namespace

class TestSpatialReference : public QObject {
    Q_OBJECT
    QHash<QString, Row> m_rows;
    QStringList m_order;

private slots:
    void initTestCase()
    {
        QVERIFY2(!databasePath().isEmpty(), "PROJ's database must be installed for these tests");
        DefinitionArray* array = nullptr;
        QCOMPARE(Definition::LoadAll(&array), Success);
        for (int i = 0; i < array->GetCount(); ++i) {
            Ref<Definition> def(array->Get(i));
            QVERIFY2(!m_rows.contains(def->code()), qPrintable("listed twice: " + def->code()));
            m_rows.insert(def->code(), rowOf(def.get()));
            m_order << def->code();
        }
        array->Destroy();
    }

    void catalogueRows_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<int>("unit");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("datum"); // contained in the row's datum; "-" for none
        QTest::addColumn<QString>("epsg");
        const int P = TypeProjected, G = TypeGeographic;
        const QString wgs = "World Geodetic System 1984";
        // WGS 84 lon/lat: once, under the built-in code, with the fixed record values.
        QTest::newRow("LL84") << "LL84" << int(UnitCode::Degree) << G << "WGS84" << "4326";
        QTest::newRow("utm") << "EPSG:32633" << int(UnitCode::Meter) << P << wgs << "32633";
        QTest::newRow("ftUS") << "EPSG:2263" << int(UnitCode::USSurveyFoot) << P << "" << "2263";
        QTest::newRow("ft") << "EPSG:2222" << int(UnitCode::Foot) << P << "" << "2222";
        QTest::newRow("grads") << "EPSG:4807" << int(UnitCode::Grad) << G << "" << "4807";
        QTest::newRow("geocentric") << "EPSG:4978" << int(UnitCode::Meter) << P << "" << "4978";
        QTest::newRow("geographic 3D") << "EPSG:4979" << int(UnitCode::Degree) << G << "" << "4979";
        QTest::newRow("vertical") << "EPSG:5773" << int(UnitCode::Meter) << int(TypeOther) << "-" << "5773";
        QTest::newRow("geographic compound") << "EPSG:9707" << int(UnitCode::Degree) << G << wgs << "9707";
        QTest::newRow("projected compound") << "EPSG:5972" << int(UnitCode::Meter) << P << "" << "5972";
        QTest::newRow("WKT text in the database") << "ESRI:53001" << int(UnitCode::Meter) << P << "" << "";
    }
    void catalogueRows()
    {
        QFETCH(QString, code);
        QFETCH(int, unit);
        QFETCH(int, type);
        QFETCH(QString, datum);
        QFETCH(QString, epsg);
        QVERIFY(m_rows.contains(code));
        const Row row = m_rows.value(code);
        QCOMPARE(int(row.unit), unit);
        QCOMPARE(row.type, type);
        QCOMPARE(row.epsg, epsg);
        QVERIFY2(datum == "-" ? row.datum.isEmpty() : row.datum.contains(datum), qPrintable(row.datum));
    }

    void catalogueListsEarthsCurrentSystemsOnly()
    {
        QVERIFY2(m_rows.size() > 5000 && m_rows.size() < 20000, qPrintable(QString::number(m_rows.size())));
        QCOMPARE(m_order.first(), QString("LL84"));
        QCOMPARE(m_rows.value("EPSG:32633").description, QString("WGS 84 / UTM zone 33N"));
        for (const char* absent : {"EPSG:4326", "EPSG:2008", "EPSG:2036", "IAU_2015:49900", "IAU_2015:30100"})
            QVERIFY2(!m_rows.contains(absent), absent); // LL84 itself, deprecated ones, Mars, the Moon
        QVERIFY(m_rows.contains("IAU_2015:39900")); // Earth, as the IAU defines it
        for (const QString& code : m_order) {
            const Row row = m_rows.value(code);
            QVERIFY2(!row.description.isEmpty(), qPrintable(code));
            if (row.type != TypeOther)
                QVERIFY2(row.unit != UnitCode::Unknown && !row.datum.isEmpty(), qPrintable(code));
        }
    }

    void catalogueAgreesWithProjObjects()
    {
        // The catalogue reads units and datums with SQL; building the same
        // systems one by one through PROJ's object API must agree. A spread
        // sample keeps this quick.
        int compared = 0;
        for (int i = 0; i < m_order.size(); i += 53, ++compared) {
            const QString code = m_order.at(i);
            Ref<Definition> def(Definition::Create(code));
            QVERIFY2(def, qPrintable(code));
            const Row row = m_rows.value(code);
            const Row built = rowOf(def.get());
            QCOMPARE(built.text(), row.text());
            // Systems stored as ESRI text name WGS 84's datum without the word
            // "ensemble"; the catalogue takes the database's name of the base system.
            QVERIFY2(built.datum == row.datum || (code.startsWith("ESRI:") && built.datum + " ensemble" == row.datum),
                     qPrintable(QString("%1: '%2' vs '%3'").arg(code, built.datum, row.datum)));
        }
        QVERIFY(compared > 100);
    }

    void callbackOrderAndCancel()
    {
        // The callback sees every definition, in array order.
        QStringList seen;
        DefinitionArray* array = nullptr;
        QCOMPARE(Definition::LoadAll(&array, [&seen](Definition* def, bool&) {
                     seen << def->code();
                     return Success;
                 }),
                 Success);
        QCOMPARE(seen, m_order);
        array->Destroy();

        // Cancelling, or a status other than Success, stops at once and hands back nothing.
        for (const bool viaFlag : {true, false}) {
            int calls = 0;
            array = reinterpret_cast<DefinitionArray*>(0x1);
            auto stop = [&calls, viaFlag](Definition*, bool& cancel) {
                const bool last = ++calls == 10;
                cancel = viaFlag && last;
                return !viaFlag && last ? Failure : Success;
            };
            QCOMPARE(Definition::LoadAll(&array, stop), Cancelled);
            QCOMPARE(array, nullptr);
            QCOMPARE(calls, 10);
        }
        QCOMPARE(Definition::LoadAll(nullptr), Failure);
    }

    void referenceCounting()
    {
        DefinitionArray* array = nullptr;
        QCOMPARE(Definition::LoadAll(&array), Success);
        QCOMPARE(array->Get(-1), nullptr);
        QCOMPARE(array->Get(array->GetCount()), nullptr);
        // A definition taken from the array outlives the array (ASan checks the
        // memory); two Gets give two references to the same object.
        Definition* first = array->Get(0);
        Definition* again = array->Get(0);
        QCOMPARE(first, again);
        again->Destroy();
        array->Destroy();
        std::wstring code, datum;
        QCOMPARE(first->GetCode(code), Success);
        QCOMPARE(QString::fromStdWString(code), m_order.first());
        QCOMPARE(first->GetDatum(datum), Success);
        QCOMPARE(QString::fromStdWString(datum), m_rows.value(m_order.first()).datum);
        first->AddRef();
        first->Destroy();
        QCOMPARE(first->code(), m_order.first());
        first->Destroy();
    }

    void concurrentLoads()
    {
        // Each thread reads the database through its own PROJ context.
        CatalogueReader::clearCache();
        QFuture<int> a = QtConcurrent::run(loadCount);
        QFuture<int> b = QtConcurrent::run(loadCount);
        QCOMPARE(a.result(), m_rows.size());
        QCOMPARE(b.result(), m_rows.size());
    }

    void unitNames()
    {
        // Every named unit maps back to itself, whatever the case and the spaces around, and names are unique.
        QSet<QString> names;
        for (int value = 0; value <= 2000; ++value) {
            TagString name;
            if (GetUnitCodeIdentifier(static_cast<UnitCode>(value), name) != Success) {
                QVERIFY(name.empty());
                continue;
            }
            QVERIFY2(!names.contains(name.toQString()), qPrintable(name.toQString()));
            names.insert(name.toQString());
            QCOMPARE(int(UnitCodeFromIdentifier(" " + name.toQString().toUpper() + "\t")), value);
        }
        QVERIFY(names.size() >= 20);
        TagString unknown;
        QCOMPARE(GetUnitCodeIdentifier(UnitCode::USSurveyFoot, unknown), Success);
        QCOMPARE(unknown.toQString(), QString("US Survey Foot"));
        QCOMPARE(GetUnitCodeIdentifier(UnitCode::Unknown, unknown), Failure);
        QVERIFY(unknown.empty());
        QCOMPARE(UnitCodeFromIdentifier("furlong"), UnitCode::Unknown);
        QCOMPARE(UnitCodeFromIdentifier(QString()), UnitCode::Unknown);

        // Database units: EPSG codes first, then the unit's kind.
        QCOMPARE(CatalogueReader::unitFromDatabase("EPSG", "9122", "angle"), UnitCode::Degree);
        QCOMPARE(CatalogueReader::unitFromDatabase("EPSG", "9084", "length"), UnitCode::OtherLinear);
        QCOMPARE(CatalogueReader::unitFromDatabase("ESRI", "9001", "angle"), UnitCode::OtherAngular);
        QCOMPARE(CatalogueReader::unitFromDatabase("", "", ""), UnitCode::Unknown);
    }

    void unitFromWkt_data()
    {
        QTest::addColumn<QString>("wkt");
        QTest::addColumn<int>("unit");
        const QString geog = "GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\","
                             "SPHEROID[\"WGS_1984\",6378137.0,298.257223563]],"
                             "PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]]";
        auto projcs = [&geog](const QString& unit) {
            return "PROJCS[\"X\"," + geog + ",PROJECTION[\"Mercator\"],PARAMETER[\"False_Easting\",0.0]," + unit + "]";
        };
        // The base system's degree unit comes first and must not be taken.
        QTest::newRow("metre") << projcs("UNIT[\"Meter\",1.0]") << int(UnitCode::Meter);
        QTest::newRow("us foot") << projcs("UNIT[\"Foot_US\",0.3048006096012192]") << int(UnitCode::USSurveyFoot);
        QTest::newRow("foot") << projcs("UNIT[\"Foot\",0.3048]") << int(UnitCode::Foot);
        QTest::newRow("km") << projcs("UNIT[\"Kilometer\",1000.0]") << int(UnitCode::Kilometer);
        QTest::newRow("other") << projcs("UNIT[\"Chain\",20.1168]") << int(UnitCode::OtherLinear);
        QTest::newRow("no unit") << QString("PROJCS[\"X\"]") << int(UnitCode::Unknown);
        QTest::newRow("bad factor") << QString("UNIT[\"Meter\",abc]") << int(UnitCode::Unknown);
        QTest::newRow("empty") << QString() << int(UnitCode::Unknown);
    }
    void unitFromWkt()
    {
        QFETCH(QString, wkt);
        QFETCH(int, unit);
        QCOMPARE(int(CatalogueReader::unitFromWkt(wkt.toStdString())), unit);
    }

    void idToId_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<QString>("code");
        QTest::addColumn<int>("to");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("result");
        const int C = FormatCatalogueCode, E = FormatEpsgNumber;
        QTest::newRow("LL84") << C << "LL84" << E << int(Success) << "4326";
        QTest::newRow("lower-case authority") << C << "epsg:2056" << E << int(Success) << "2056";
        QTest::newRow("other authority") << C << "IGNF:LAMB93" << E << int(Success) << "";
        QTest::newRow("ECEF") << C << "ECEF" << E << int(Success) << "";
        QTest::newRow("not a code") << C << "garbage" << E << int(NotFound) << "";
        QTest::newRow("epsg not a number") << C << "EPSG:12x" << E << int(NotFound) << "";
        QTest::newRow("empty code") << C << "" << E << int(NotFound) << "";
        QTest::newRow("authority without a code") << C << "IGNF:" << E << int(NotFound) << "";
        QTest::newRow("number") << E << "32633" << C << int(Success) << "EPSG:32633";
        QTest::newRow("4326 is LL84") << E << "4326" << C << int(Success) << "LL84";
        QTest::newRow("leading zeros") << E << "004326" << C << int(Success) << "LL84";
        QTest::newRow("spaces") << E << " 2056 " << C << int(Success) << "EPSG:2056";
        QTest::newRow("letters") << E << "abc" << C << int(NotFound) << "";
        QTest::newRow("negative") << E << "-5" << C << int(NotFound) << "";
        QTest::newRow("same format code") << C << "EPSG:32633" << C << int(Success) << "EPSG:32633";
        QTest::newRow("same format number") << E << "02056" << E << int(Success) << "2056";
        QTest::newRow("zeros only") << E << "000" << C << int(Success) << "EPSG:0";
        QTest::newRow("unknown source format") << 7 << "EPSG:1" << E << int(Failure) << "";
        QTest::newRow("unknown target format") << C << "EPSG:1" << -1 << int(Failure) << "";
    }
    void idToId()
    {
        QFETCH(int, from);
        QFETCH(QString, code);
        QFETCH(int, to);
        QFETCH(int, status);
        QFETCH(QString, result);
        wchar_t buffer[64];
        std::fill(std::begin(buffer), std::end(buffer), L'#');
        QCOMPARE(int(FormatConverter::IdToId_s(from, code.toStdWString().c_str(), to, buffer, 64)), status);
        QCOMPARE(QString::fromWCharArray(buffer), result);
    }

    void idToIdBuffers()
    {
        wchar_t buffer[8];
        // "32633" needs six places with its terminator.
        QCOMPARE(FormatConverter::IdToId_s(0, L"EPSG:32633", 1, buffer, 5), BufferTooSmall);
        QCOMPARE(buffer[0], L'\0');
        QCOMPARE(FormatConverter::IdToId_s(0, L"EPSG:32633", 1, buffer, 6), Success);
        QCOMPARE(QString::fromWCharArray(buffer), QString("32633"));
        QCOMPARE(FormatConverter::IdToId_s(1, L"32633", 0, buffer, 8), BufferTooSmall);
        QCOMPARE(FormatConverter::IdToId_s(0, L"EPSG:1", 1, buffer, 0), Failure);
        QCOMPARE(FormatConverter::IdToId_s(0, nullptr, 1, buffer, 8), Failure);
        QCOMPARE(FormatConverter::IdToId_s(0, L"EPSG:1", 1, nullptr, 8), Failure);
    }

    void create_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("stored"); // the code the definition answers
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("wktStart");
        QTest::addColumn<QString>("wktId");
        const int P = TypeProjected, G = TypeGeographic;
        QTest::newRow("utm") << "EPSG:32633" << "EPSG:32633" << P << "PROJCRS[\"WGS 84 / UTM zone 33N\"" << "32633";
        QTest::newRow("4326 is LL84, spaces trimmed") << " EPSG:4326 " << "LL84" << G << "GEOGCRS[\"WGS 84\"" << "4326";
        QTest::newRow("ECEF") << "ECEF" << "ECEF" << P << "GEODCRS[" << "4978";
        QTest::newRow("lower case") << "epsg:2056" << "EPSG:2056" << P << "PROJCRS[" << "2056";
        // Another body: known to PROJ, but never a user's system.
        QTest::newRow("Mars") << "IAU_2015:49900" << "IAU_2015:49900" << int(TypeOther) << "" << "";
    }
    void create()
    {
        QFETCH(QString, code);
        QFETCH(QString, stored);
        QFETCH(int, type);
        QFETCH(QString, wktStart);
        QFETCH(QString, wktId);
        Ref<Definition> def(Definition::Create(code));
        QVERIFY(def);
        QCOMPARE(def->code(), stored);
        QCOMPARE(def->type(), type);
        const QString wkt = def->wkt();
        QVERIFY2(wkt.startsWith(wktStart), qPrintable(wkt.left(80)));
        QVERIFY(wktId.isEmpty() || wkt.contains(QString("ID[\"EPSG\",%1]").arg(wktId)));
    }

    void createRefusesBadCodes()
    {
        for (const char* bad : {"EPSG:99999999", "nonsense", "", "EPSG:", ":4326", "EPSG:43:26"})
            QVERIFY2(!Definition::Create(bad), bad);
    }
};

QTEST_GUILESS_MAIN(TestSpatialReference)
#include "tst_spatialreference.moc"
