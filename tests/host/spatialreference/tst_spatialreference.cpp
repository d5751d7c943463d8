#include <spatialreference/CatalogueReader.h>
#include <spatialreference/SpatialReference.h>

#include <QElapsedTimer>
#include <QHash>
#include <QSet>
#include <QtConcurrent>
#include <QtTest>

using namespace SpatialReference;

namespace {

// Owns one reference for the length of a scope.
template <typename T>
struct Ref {
    T* p = nullptr;
    explicit Ref(T* object = nullptr) : p(object) {}
    ~Ref()
    {
        if (p)
            p->Destroy();
    }
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    T* operator->() const { return p; }
};

struct Row {
    QString code, description, datum, epsg;
    UnitCode unit;
    int type;
};

Row rowOf(const CoordinateReferenceSystemDefinition* def)
{
    return {def->code(), def->description(), def->datum(), def->epsg(), def->unit(), def->type()};
}

} // namespace

class TestSpatialReference : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void catalogueContents();
    void catalogueAgreesWithProjObjects();
    void callbackOrderAndCancel();
    void referenceCounting();
    void concurrentLoads();
    void unitNames();
    void unitFromWkt_data();
    void unitFromWkt();
    void idToId_data();
    void idToId();
    void idToIdBuffers();
    void idToIdRoundTripOverCatalogue();
    void createAndWkt();

private:
    QHash<QString, Row> m_rows;
    QStringList m_order;
};

void TestSpatialReference::initTestCase()
{
    QVERIFY2(!databasePath().isEmpty(), "PROJ's database must be installed for these tests");

    QElapsedTimer timer;
    timer.start();
    DefinitionArray* array = nullptr;
    QCOMPARE(CoordinateReferenceSystemDefinition::LoadAll(&array), Success);
    const qint64 ms = timer.elapsed();
    QVERIFY(array);
    qInfo("LoadAll: %d definitions in %lld ms", array->GetCount(), static_cast<long long>(ms));

    for (int i = 0; i < array->GetCount(); ++i) {
        Ref<CoordinateReferenceSystemDefinition> def(array->Get(i));
        QVERIFY(def.p);
        QVERIFY2(!m_rows.contains(def->code()), qPrintable("listed twice: " + def->code()));
        m_rows.insert(def->code(), rowOf(def.p));
        m_order << def->code();
    }
    array->Destroy();
}

void TestSpatialReference::catalogueContents()
{
    QVERIFY2(m_rows.size() > 5000 && m_rows.size() < 20000, qPrintable(QString::number(m_rows.size())));

    // WGS 84 lon/lat: once, under the built-in code, with the fixed record values.
    QVERIFY(m_rows.contains("LL84"));
    QVERIFY(!m_rows.contains("EPSG:4326"));
    const Row ll84 = m_rows.value("LL84");
    QCOMPARE(ll84.epsg, QString("4326"));
    QCOMPARE(ll84.datum, QString("WGS84"));
    QCOMPARE(ll84.unit, UnitCode::Degree);
    QCOMPARE(ll84.type, int(TypeGeographic));

    const Row utm = m_rows.value("EPSG:32633");
    QCOMPARE(utm.description, QString("WGS 84 / UTM zone 33N"));
    QCOMPARE(utm.unit, UnitCode::Meter);
    QCOMPARE(utm.type, int(TypeProjected));
    QCOMPARE(utm.epsg, QString("32633"));
    QVERIFY2(utm.datum.contains("World Geodetic System 1984"), qPrintable(utm.datum));

    struct Expect {
        const char* code;
        UnitCode unit;
        int type;
    };
    const Expect expected[] = {
        {"EPSG:2263", UnitCode::USSurveyFoot, TypeProjected}, // NAD83 / New York Long Island (ftUS)
        {"EPSG:2222", UnitCode::Foot, TypeProjected},         // NAD83 / Arizona East (ft)
        {"EPSG:4807", UnitCode::Grad, TypeGeographic},        // NTF (Paris), in grads
        {"EPSG:4978", UnitCode::Meter, TypeProjected},        // geocentric
        {"EPSG:4979", UnitCode::Degree, TypeGeographic},      // geographic 3D
        {"EPSG:5773", UnitCode::Meter, TypeOther},            // EGM96 height: vertical
        {"EPSG:9707", UnitCode::Degree, TypeGeographic},      // WGS 84 + EGM96 height: geographic compound
        {"EPSG:5972", UnitCode::Meter, TypeProjected},        // ETRS89 / UTM 32N + NN2000 height: projected compound
        {"EPSG:2056", UnitCode::Meter, TypeProjected},
        {"ESRI:53001", UnitCode::Meter, TypeProjected},       // stored as WKT text in the database
    };
    for (const Expect& e : expected) {
        QVERIFY2(m_rows.contains(e.code), e.code);
        const Row row = m_rows.value(e.code);
        QVERIFY2(row.unit == e.unit, qPrintable(QString("%1 unit %2").arg(e.code).arg(int(row.unit))));
        QVERIFY2(row.type == e.type, qPrintable(QString("%1 type %2").arg(e.code).arg(row.type)));
    }
    QVERIFY(m_rows.value("EPSG:9707").datum.contains("World Geodetic System 1984"));
    QVERIFY(m_rows.value("EPSG:5773").datum.isEmpty());
    QVERIFY(m_rows.value("EPSG:2056").datum.contains("CH1903+"));
    QVERIFY(m_rows.value("ESRI:53001").epsg.isEmpty());

    // Deprecated systems and other bodies are not listed.
    QVERIFY(!m_rows.contains("EPSG:2008"));
    QVERIFY(!m_rows.contains("EPSG:2036"));
    QVERIFY(!m_rows.contains("IAU_2015:49900")); // Mars
    QVERIFY(!m_rows.contains("IAU_2015:30100")); // the Moon
    QVERIFY(m_rows.contains("IAU_2015:39900"));  // Earth, as the IAU defines it
    for (const QString& code : m_order) {
        const Row row = m_rows.value(code);
        QVERIFY2(!row.description.isEmpty(), qPrintable(code));
        if (row.type != TypeOther) {
            QVERIFY2(row.unit != UnitCode::Unknown, qPrintable(code));
            QVERIFY2(!row.datum.isEmpty(), qPrintable(code));
        }
        if (code.startsWith("EPSG:"))
            QCOMPARE(row.epsg, code.mid(5));
    }
    QCOMPARE(m_order.first(), QString("LL84"));
}

void TestSpatialReference::catalogueAgreesWithProjObjects()
{
    // The catalogue reads units and datums with SQL; building the same
    // systems one by one through PROJ's object API must agree. A spread
    // sample keeps this quick.
    int compared = 0;
    for (int i = 0; i < m_order.size(); i += 53) {
        const QString code = m_order.at(i);
        Ref<CoordinateReferenceSystemDefinition> def(CoordinateReferenceSystemDefinition::Create(code));
        QVERIFY2(def.p, qPrintable(code));
        const Row row = m_rows.value(code);
        QCOMPARE(def->code(), code);
        QCOMPARE(def->description(), row.description);
        QVERIFY2(def->type() == row.type, qPrintable(code));
        QVERIFY2(def->unit() == row.unit, qPrintable(QString("%1: %2 vs %3").arg(code).arg(int(def->unit())).arg(int(row.unit))));
        // Systems stored as ESRI text name WGS 84's datum without the word
        // "ensemble"; the catalogue takes the database's name of the base system.
        const bool sameDatum = def->datum() == row.datum
            || (code.startsWith("ESRI:") && def->datum() + " ensemble" == row.datum);
        QVERIFY2(sameDatum, qPrintable(QString("%1: '%2' vs '%3'").arg(code, def->datum(), row.datum)));
        QCOMPARE(def->epsg(), row.epsg);
        ++compared;
    }
    QVERIFY(compared > 100);
}

void TestSpatialReference::callbackOrderAndCancel()
{
    // The callback sees every definition, in array order.
    QStringList seen;
    DefinitionArray* array = nullptr;
    auto collect = [&seen](CoordinateReferenceSystemDefinition* def, bool&) {
        seen << def->code();
        return Success;
    };
    QCOMPARE(CoordinateReferenceSystemDefinition::LoadAll(&array, collect), Success);
    QVERIFY(array);
    QCOMPARE(seen.size(), array->GetCount());
    QCOMPARE(seen, m_order);
    array->Destroy();

    // Cancelling stops at once and hands back nothing.
    int calls = 0;
    array = reinterpret_cast<DefinitionArray*>(0x1);
    auto cancelAtTen = [&calls](CoordinateReferenceSystemDefinition*, bool& cancel) {
        cancel = ++calls == 10;
        return Success;
    };
    QCOMPARE(CoordinateReferenceSystemDefinition::LoadAll(&array, cancelAtTen), Cancelled);
    QCOMPARE(array, nullptr);
    QCOMPARE(calls, 10);

    // So does a status other than Success.
    calls = 0;
    auto failAtFive = [&calls](CoordinateReferenceSystemDefinition*, bool&) { return ++calls == 5 ? Failure : Success; };
    QCOMPARE(CoordinateReferenceSystemDefinition::LoadAll(&array, failAtFive), Cancelled);
    QCOMPARE(array, nullptr);
    QCOMPARE(calls, 5);

    QCOMPARE(CoordinateReferenceSystemDefinition::LoadAll(nullptr), Failure);
}

void TestSpatialReference::referenceCounting()
{
    DefinitionArray* array = nullptr;
    QCOMPARE(CoordinateReferenceSystemDefinition::LoadAll(&array), Success);
    QVERIFY(array->GetCount() > 1);
    QCOMPARE(array->Get(-1), nullptr);
    QCOMPARE(array->Get(array->GetCount()), nullptr);

    // A definition taken from the array outlives the array (ASan checks the
    // memory); two Gets give two references to the same object.
    CoordinateReferenceSystemDefinition* first = array->Get(0);
    CoordinateReferenceSystemDefinition* again = array->Get(0);
    QCOMPARE(first, again);
    again->Destroy();
    array->Destroy();
    std::wstring code;
    QCOMPARE(first->GetCode(code), Success);
    QCOMPARE(QString::fromStdWString(code), m_order.first());
    first->AddRef();
    first->Destroy();
    QCOMPARE(first->code(), m_order.first());
    first->Destroy();
}

void TestSpatialReference::concurrentLoads()
{
    // Each thread reads the database through its own PROJ context.
    CatalogueReader::clearCache();
    auto load = [] {
        DefinitionArray* array = nullptr;
        if (CoordinateReferenceSystemDefinition::LoadAll(&array) != Success || !array)
            return -1;
        const int count = array->GetCount();
        array->Destroy();
        return count;
    };
    QFuture<int> a = QtConcurrent::run(load);
    QFuture<int> b = QtConcurrent::run(load);
    QCOMPARE(a.result(), m_rows.size());
    QCOMPARE(b.result(), m_rows.size());
}

void TestSpatialReference::unitNames()
{
    const QList<QPair<UnitCode, QString>> named = {
        {UnitCode::Meter, "Meter"},         {UnitCode::USSurveyFoot, "US Survey Foot"},
        {UnitCode::Foot, "Foot"},           {UnitCode::Kilometer, "Kilometer"},
        {UnitCode::Centimeter, "Centimeter"}, {UnitCode::Millimeter, "Millimeter"},
        {UnitCode::Degree, "Degree"},       {UnitCode::Grad, "Grad"},
        {UnitCode::Radian, "Radian"},
    };
    for (const auto& pair : named) {
        TagString name;
        QCOMPARE(GetUnitCodeIdentifier(pair.first, name), Success);
        QCOMPARE(name.toQString(), pair.second);
        QCOMPARE(UnitCodeFromIdentifier(pair.second), pair.first);
        QCOMPARE(UnitCodeFromIdentifier(pair.second.toUpper()), pair.first);
    }

    // Every named unit maps back to itself, and names are unique.
    QSet<QString> names;
    for (int value = 0; value <= 2000; ++value) {
        TagString name;
        if (GetUnitCodeIdentifier(static_cast<UnitCode>(value), name) != Success) {
            QVERIFY(name.empty());
            continue;
        }
        QVERIFY(!name.empty());
        QVERIFY2(!names.contains(name.toQString()), qPrintable(name.toQString()));
        names.insert(name.toQString());
        QCOMPARE(int(UnitCodeFromIdentifier(name.toQString())), value);
    }
    QVERIFY(names.size() >= 20);

    TagString unknown;
    unknown.assign(L"stale");
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

void TestSpatialReference::unitFromWkt_data()
{
    QTest::addColumn<QString>("wkt");
    QTest::addColumn<int>("unit");
    const QString geog = "GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137.0,298.257223563]],"
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

void TestSpatialReference::unitFromWkt()
{
    QFETCH(QString, wkt);
    QFETCH(int, unit);
    QCOMPARE(int(CatalogueReader::unitFromWkt(wkt.toStdString())), unit);
}

void TestSpatialReference::idToId_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("to");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("result");

    const int C = FormatCatalogueCode, E = FormatEpsgNumber;
    QTest::newRow("LL84") << C << "LL84" << E << int(Success) << "4326";
    QTest::newRow("utm") << C << "EPSG:32633" << E << int(Success) << "32633";
    QTest::newRow("lower-case authority") << C << "epsg:2056" << E << int(Success) << "2056";
    QTest::newRow("other authority") << C << "IGNF:LAMB93" << E << int(Success) << "";
    QTest::newRow("esri") << C << "ESRI:53001" << E << int(Success) << "";
    QTest::newRow("ECEF") << C << "ECEF" << E << int(Success) << "";
    QTest::newRow("not a code") << C << "garbage" << E << int(NotFound) << "";
    QTest::newRow("epsg not a number") << C << "EPSG:12x" << E << int(NotFound) << "";
    QTest::newRow("empty code") << C << "" << E << int(NotFound) << "";
    QTest::newRow("number") << E << "32633" << C << int(Success) << "EPSG:32633";
    QTest::newRow("4326 is LL84") << E << "4326" << C << int(Success) << "LL84";
    QTest::newRow("leading zeros") << E << "004326" << C << int(Success) << "LL84";
    QTest::newRow("spaces") << E << " 2056 " << C << int(Success) << "EPSG:2056";
    QTest::newRow("letters") << E << "abc" << C << int(NotFound) << "";
    QTest::newRow("negative") << E << "-5" << C << int(NotFound) << "";
    QTest::newRow("same format code") << C << "EPSG:32633" << C << int(Success) << "EPSG:32633";
    QTest::newRow("same format number") << E << "4326" << E << int(Success) << "4326";
    QTest::newRow("unknown source format") << 7 << "EPSG:1" << E << int(Failure) << "";
    QTest::newRow("unknown target format") << C << "EPSG:1" << -1 << int(Failure) << "";
}

void TestSpatialReference::idToId()
{
    QFETCH(int, from);
    QFETCH(QString, code);
    QFETCH(int, to);
    QFETCH(int, status);
    QFETCH(QString, result);

    wchar_t buffer[64];
    std::fill(std::begin(buffer), std::end(buffer), L'#');
    const std::wstring input = code.toStdWString();
    QCOMPARE(int(FormatConverter::IdToId_s(from, input.c_str(), to, buffer, 64)), status);
    QCOMPARE(QString::fromWCharArray(buffer), result);
}

void TestSpatialReference::idToIdBuffers()
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

void TestSpatialReference::idToIdRoundTripOverCatalogue()
{
    // The catalogue dialog converts every row's code; it must agree with
    // the definitions' own EPSG numbers and be quick.
    QElapsedTimer timer;
    timer.start();
    int epsgCodes = 0;
    for (const QString& code : m_order) {
        wchar_t epsg[1024] = {};
        const std::wstring wide = code.toStdWString();
        QCOMPARE(FormatConverter::IdToId_s(0, wide.c_str(), 1, epsg, 1024), Success);
        QCOMPARE(QString::fromWCharArray(epsg), m_rows.value(code).epsg);
        if (epsg[0] == L'\0')
            continue;
        wchar_t back[1024] = {};
        QCOMPARE(FormatConverter::IdToId_s(1, epsg, 0, back, 1024), Success);
        QCOMPARE(QString::fromWCharArray(back), code);
        ++epsgCodes;
    }
    qInfo("IdToId_s over %d codes (%d round trips): %lld ms", m_order.size(), epsgCodes,
          static_cast<long long>(timer.elapsed()));
    QVERIFY(epsgCodes > 5000);
}

void TestSpatialReference::createAndWkt()
{
    {
        Ref<CoordinateReferenceSystemDefinition> utm(CoordinateReferenceSystemDefinition::Create("EPSG:32633"));
        QVERIFY(utm.p);
        QCOMPARE(utm->description(), QString("WGS 84 / UTM zone 33N"));
        QCOMPARE(utm->unit(), UnitCode::Meter);
        QCOMPARE(utm->epsg(), QString("32633"));
        const QString wkt = utm->wkt();
        QVERIFY2(wkt.startsWith("PROJCRS[\"WGS 84 / UTM zone 33N\""), qPrintable(wkt.left(80)));
        QVERIFY(wkt.contains("ID[\"EPSG\",32633]"));
    }
    for (const QString& code : {QString("LL84"), QString("EPSG:4326"), QString(" LL84 ")}) {
        Ref<CoordinateReferenceSystemDefinition> ll84(CoordinateReferenceSystemDefinition::Create(code));
        QVERIFY(ll84.p);
        QCOMPARE(ll84->code(), QString("LL84"));
        QCOMPARE(ll84->epsg(), QString("4326"));
        QCOMPARE(ll84->datum(), QString("WGS84"));
        QCOMPARE(ll84->unit(), UnitCode::Degree);
        QCOMPARE(ll84->type(), int(TypeGeographic));
        std::wstring datum, epsg;
        QCOMPARE(ll84->GetDatum(datum), Success);
        QCOMPARE(ll84->GetEpsg(epsg), Success);
        QCOMPARE(datum, std::wstring(L"WGS84"));
        QCOMPARE(epsg, std::wstring(L"4326"));
        const QString wkt = ll84->wkt();
        QVERIFY(wkt.startsWith("GEOGCRS[\"WGS 84\""));
        QVERIFY(wkt.contains("ID[\"EPSG\",4326]"));
    }
    {
        Ref<CoordinateReferenceSystemDefinition> ecef(CoordinateReferenceSystemDefinition::Create("ECEF"));
        QVERIFY(ecef.p);
        QCOMPARE(ecef->code(), QString("ECEF"));
        QCOMPARE(ecef->unit(), UnitCode::Meter);
        QCOMPARE(ecef->type(), int(TypeProjected));
        QVERIFY(ecef->epsg().isEmpty());
        const QString wkt = ecef->wkt();
        QVERIFY(wkt.startsWith("GEODCRS["));
        QVERIFY(wkt.contains("ID[\"EPSG\",4978]"));
    }
    {
        // Another body: known to PROJ, but never a user's system.
        Ref<CoordinateReferenceSystemDefinition> mars(CoordinateReferenceSystemDefinition::Create("IAU_2015:49900"));
        QVERIFY(mars.p);
        QCOMPARE(mars->type(), int(TypeOther));
    }
    {
        Ref<CoordinateReferenceSystemDefinition> lower(CoordinateReferenceSystemDefinition::Create("epsg:2056"));
        QVERIFY(lower.p);
        QCOMPARE(lower->code(), QString("EPSG:2056"));
    }
    for (const char* bad : {"EPSG:99999999", "nonsense", "", "EPSG:", ":4326", "EPSG:43:26"})
        QVERIFY2(!CoordinateReferenceSystemDefinition::Create(bad), bad);
}

QTEST_GUILESS_MAIN(TestSpatialReference)
#include "tst_spatialreference.moc"
