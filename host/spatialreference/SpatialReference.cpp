#include <spatialreference/SpatialReference.h>

#include <spatialreference/CatalogueReader.h>
#include <spatialreference/ProjContext.h>

#include <QLoggingCategory>

#include <proj.h>

#include <algorithm>
#include <cwctype>

Q_LOGGING_CATEGORY(lcSpatialReference, "zyn.spatialreference", QtInfoMsg)

namespace SpatialReference {

namespace {

const wchar_t kLL84[] = L"LL84";
const wchar_t kECEF[] = L"ECEF";
const char kLL84Name[] = "WGS 84";
const char kECEFDescription[] = "Earth-Centered Earth-Fixed";

std::wstring wide(const std::string& utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size())).toStdWString();
}

bool allDigits(const std::wstring& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

std::wstring trimmed(const wchar_t* text)
{
    std::wstring s(text);
    auto notSpace = [](wchar_t c) { return !std::iswspace(static_cast<wint_t>(c)); };
    s.erase(s.begin(), std::find_if(s.begin(), s.end(), notSpace));
    s.erase(std::find_if(s.rbegin(), s.rend(), notSpace).base(), s.end());
    return s;
}

std::wstring upper(std::wstring s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](wchar_t c) { return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c))); });
    return s;
}

// Where a built-in code lives in PROJ's database.
bool projCodeOf(const std::wstring& code, const std::string& authName, const std::string& authCode,
                std::string& outAuth, std::string& outCode)
{
    if (code == kLL84) {
        outAuth = "EPSG";
        outCode = "4326";
    } else if (code == kECEF) {
        outAuth = "EPSG";
        outCode = "4978";
    } else {
        outAuth = authName;
        outCode = authCode;
    }
    return !outAuth.empty() && !outCode.empty();
}

} // namespace

// Builds definitions; the only code allowed to reach their private members
// besides the class itself.
struct DefinitionFactory {
    static CoordinateReferenceSystemDefinition* fromEntry(const CatalogueEntry& entry)
    {
        auto* def = new CoordinateReferenceSystemDefinition;
        def->m_authName = entry.authName;
        def->m_authCode = entry.authCode;
        def->m_code = wide(entry.authName + ':' + entry.authCode);
        def->m_description = wide(entry.name);
        def->m_datum = wide(entry.datum);
        if (entry.authName == "EPSG")
            def->m_epsg = wide(entry.authCode);
        def->m_unit = entry.unit;
        def->m_type = entry.type;
        return def;
    }

    static CoordinateReferenceSystemDefinition* ll84(const std::string& description)
    {
        auto* def = new CoordinateReferenceSystemDefinition;
        def->m_authName = "EPSG";
        def->m_authCode = "4326";
        def->m_code = kLL84;
        def->m_description = wide(description);
        def->m_datum = L"WGS84";
        def->m_epsg = L"4326";
        def->m_unit = UnitCode::Degree;
        def->m_type = TypeGeographic;
        return def;
    }

    static CoordinateReferenceSystemDefinition* ecef()
    {
        // Mirrors the catalogue dialog's own ECEF row: no EPSG number, no datum.
        auto* def = new CoordinateReferenceSystemDefinition;
        def->m_authName = "EPSG";
        def->m_authCode = "4978";
        def->m_code = kECEF;
        def->m_description = wide(kECEFDescription);
        def->m_unit = UnitCode::Meter;
        def->m_type = TypeProjected;
        return def;
    }
};

// ---------------------------------------------------------------- Object

void Object::AddRef() const
{
    m_refs.fetch_add(1, std::memory_order_relaxed);
}

void Object::Destroy() const
{
    if (m_refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

// ---------------------------------------------------------------- DefinitionArray

DefinitionArray::~DefinitionArray()
{
    for (CoordinateReferenceSystemDefinition* def : m_items)
        def->Destroy();
}

int DefinitionArray::GetCount() const
{
    return static_cast<int>(m_items.size());
}

CoordinateReferenceSystemDefinition* DefinitionArray::Get(int i) const
{
    if (i < 0 || i >= GetCount())
        return nullptr;
    CoordinateReferenceSystemDefinition* def = m_items[static_cast<size_t>(i)];
    def->AddRef();
    return def;
}

// ---------------------------------------------------------------- Definition

Status CoordinateReferenceSystemDefinition::LoadAll(DefinitionArray** out, const LoadCallback& callback)
{
    if (!out)
        return Failure;
    *out = nullptr;

    CatalogueReader::Entries shared;
    std::string error;
    const Status status = CatalogueReader::readAll(shared, &error);
    if (status != Success || !shared) {
        qCWarning(lcSpatialReference, "Cannot list coordinate systems: %s", error.c_str());
        return status != Success ? status : Failure;
    }
    const std::vector<CatalogueEntry>& entries = *shared;

    auto isWgs84 = [](const CatalogueEntry& e) { return e.authName == "EPSG" && e.authCode == "4326"; };
    const auto wgs84 = std::find_if(entries.begin(), entries.end(), isWgs84);

    auto* array = new DefinitionArray;
    array->m_items.reserve(entries.size());
    auto deliver = [&](CoordinateReferenceSystemDefinition* def) {
        array->m_items.push_back(def);
        if (!callback)
            return true;
        bool cancel = false;
        const Status answer = callback(def, cancel);
        return !cancel && answer == Success;
    };

    // WGS 84 lon/lat is listed once, first, under its built-in code.
    if (wgs84 != entries.end() && !deliver(DefinitionFactory::ll84(wgs84->name))) {
        array->Destroy();
        return Cancelled;
    }
    for (const CatalogueEntry& entry : entries) {
        if (isWgs84(entry))
            continue;
        if (!deliver(DefinitionFactory::fromEntry(entry))) {
            array->Destroy();
            return Cancelled;
        }
    }
    *out = array;
    return Success;
}

CoordinateReferenceSystemDefinition* CoordinateReferenceSystemDefinition::Create(const QString& code)
{
    const QString text = code.trimmed();
    if (text == QLatin1String("LL84"))
        return DefinitionFactory::ll84(kLL84Name);
    if (text == QLatin1String("ECEF"))
        return DefinitionFactory::ecef();

    std::string authName, authCode;
    if (!Proj::splitCode(text.toStdString(), authName, authCode))
        return nullptr;
    if (authName == "EPSG" && authCode == "4326")
        return DefinitionFactory::ll84(kLL84Name);

    PJ_CONTEXT* ctx = Proj::threadContext();
    if (!ctx)
        return nullptr;
    PJ* crs = proj_create_from_database(ctx, authName.c_str(), authCode.c_str(), PJ_CATEGORY_CRS, false, nullptr);
    if (!crs)
        return nullptr;

    CatalogueEntry entry;
    entry.authName = authName;
    entry.authCode = authCode;
    entry.name = proj_get_name(crs) ? proj_get_name(crs) : "";
    entry.type = CatalogueReader::typeFromProj(proj_get_type(crs));
    if (entry.type != TypeOther) {
        const char* body = proj_get_celestial_body_name(ctx, crs);
        if (body && std::string(body) != "Earth")
            entry.type = TypeOther;
    }

    // Unit and datum come from the horizontal part of a compound system.
    PJ* horizontal = proj_get_type(crs) == PJ_TYPE_COMPOUND_CRS ? proj_crs_get_sub_crs(ctx, crs, 0) : nullptr;
    PJ* base = horizontal ? horizontal : crs;
    // So does its kind: a geographic system with heights is geographic.
    if (horizontal && entry.type == TypeProjected
        && CatalogueReader::typeFromProj(proj_get_type(horizontal)) == TypeGeographic)
        entry.type = TypeGeographic;
    if (PJ* cs = proj_crs_get_coordinate_system(ctx, base)) {
        const char* unitAuth = nullptr;
        const char* unitCode = nullptr;
        double factor = 0;
        if (proj_cs_get_axis_info(ctx, cs, 0, nullptr, nullptr, nullptr, &factor, nullptr, &unitAuth, &unitCode)) {
            const bool angular = proj_cs_get_type(ctx, cs) == PJ_CS_TYPE_ELLIPSOIDAL;
            entry.unit = CatalogueReader::unitFromDatabase(unitAuth ? unitAuth : "", unitCode ? unitCode : "",
                                                           angular ? "angle" : "length");
        }
        proj_destroy(cs);
    }
    // A vertical system's datum is not a horizontal one: leave it empty.
    if (proj_get_type(base) != PJ_TYPE_VERTICAL_CRS) {
        PJ* datum = proj_crs_get_datum(ctx, base);
        if (!datum)
            datum = proj_crs_get_datum_ensemble(ctx, base);
        if (datum) {
            entry.datum = proj_get_name(datum) ? proj_get_name(datum) : "";
            proj_destroy(datum);
        }
    }
    if (horizontal)
        proj_destroy(horizontal);
    proj_destroy(crs);
    return DefinitionFactory::fromEntry(entry);
}

Status CoordinateReferenceSystemDefinition::GetCode(std::wstring& code) const
{
    code = m_code;
    return Success;
}

Status CoordinateReferenceSystemDefinition::GetDescription(std::wstring& description) const
{
    description = m_description;
    return Success;
}

Status CoordinateReferenceSystemDefinition::GetUnitCode(UnitCode& unit) const
{
    unit = m_unit;
    return Success;
}

Status CoordinateReferenceSystemDefinition::GetType(int& type) const
{
    type = m_type;
    return Success;
}

Status CoordinateReferenceSystemDefinition::GetDatum(std::wstring& datum) const
{
    datum = m_datum;
    return Success;
}

Status CoordinateReferenceSystemDefinition::GetEpsg(std::wstring& epsg) const
{
    epsg = m_epsg;
    return Success;
}

QString CoordinateReferenceSystemDefinition::code() const
{
    return QString::fromStdWString(m_code);
}

QString CoordinateReferenceSystemDefinition::description() const
{
    return QString::fromStdWString(m_description);
}

QString CoordinateReferenceSystemDefinition::datum() const
{
    return QString::fromStdWString(m_datum);
}

QString CoordinateReferenceSystemDefinition::epsg() const
{
    return QString::fromStdWString(m_epsg);
}

UnitCode CoordinateReferenceSystemDefinition::unit() const
{
    return m_unit;
}

int CoordinateReferenceSystemDefinition::type() const
{
    return m_type;
}

QString CoordinateReferenceSystemDefinition::projText(bool wktForm) const
{
    std::string authName, authCode;
    if (!projCodeOf(m_code, m_authName, m_authCode, authName, authCode))
        return QString();
    PJ_CONTEXT* ctx = Proj::threadContext();
    if (!ctx)
        return QString();
    PJ* crs = proj_create_from_database(ctx, authName.c_str(), authCode.c_str(), PJ_CATEGORY_CRS, false, nullptr);
    if (!crs)
        return QString();
    const char* text = wktForm ? proj_as_wkt(ctx, crs, PJ_WKT2_2019, nullptr)
                               : proj_as_proj_string(ctx, crs, PJ_PROJ_5, nullptr);
    const QString result = text ? QString::fromUtf8(text) : QString();
    proj_destroy(crs);
    return result;
}

QString CoordinateReferenceSystemDefinition::wkt() const
{
    return projText(true);
}

QString CoordinateReferenceSystemDefinition::projString() const
{
    return projText(false);
}

// ---------------------------------------------------------------- Units

namespace {

struct UnitName {
    UnitCode unit;
    const wchar_t* name;
};

const UnitName kUnitNames[] = {
    {UnitCode::Meter, L"Meter"},
    {UnitCode::USSurveyFoot, L"US Survey Foot"},
    {UnitCode::Foot, L"Foot"},
    {UnitCode::Kilometer, L"Kilometer"},
    {UnitCode::Centimeter, L"Centimeter"},
    {UnitCode::Millimeter, L"Millimeter"},
    {UnitCode::InternationalChain, L"International Chain"},
    {UnitCode::Link, L"Link"},
    {UnitCode::Yard, L"Yard"},
    {UnitCode::Mile, L"Mile"},
    {UnitCode::NauticalMile, L"Nautical Mile"},
    {UnitCode::ClarkeFoot, L"Clarke Foot"},
    {UnitCode::IndianFoot, L"Indian Foot"},
    {UnitCode::GermanLegalMetre, L"German Legal Metre"},
    {UnitCode::OtherLinear, L"Other Linear Unit"},
    {UnitCode::Degree, L"Degree"},
    {UnitCode::Grad, L"Grad"},
    {UnitCode::ArcMinute, L"Arc Minute"},
    {UnitCode::ArcSecond, L"Arc Second"},
    {UnitCode::Microradian, L"Microradian"},
    {UnitCode::Mil, L"Mil"},
    {UnitCode::Radian, L"Radian"},
    {UnitCode::OtherAngular, L"Other Angular Unit"},
};

} // namespace

Status GetUnitCodeIdentifier(UnitCode unit, TagString& name)
{
    for (const UnitName& entry : kUnitNames) {
        if (entry.unit == unit) {
            name.assign(entry.name);
            return Success;
        }
    }
    name.assign(std::wstring());
    return Failure;
}

UnitCode UnitCodeFromIdentifier(const QString& name)
{
    const QString wanted = name.trimmed();
    for (const UnitName& entry : kUnitNames) {
        if (wanted.compare(QString::fromWCharArray(entry.name), Qt::CaseInsensitive) == 0)
            return entry.unit;
    }
    return UnitCode::Unknown;
}

// ---------------------------------------------------------------- Codes

namespace FormatConverter {

namespace {

// Catalogue code to EPSG number. Pure string work: this runs once per row
// while the catalogue fills, so it must not touch PROJ.
Status catalogueToEpsg(const std::wstring& code, std::wstring& epsg)
{
    epsg.clear();
    if (code == kLL84) {
        epsg = L"4326";
        return Success;
    }
    if (code == kECEF)
        return Success; // the built-in ECEF record carries no EPSG number
    const auto colon = code.find(L':');
    if (colon == std::wstring::npos || colon == 0 || colon + 1 >= code.size())
        return NotFound;
    const std::wstring authority = upper(code.substr(0, colon));
    const std::wstring number = code.substr(colon + 1);
    if (authority == L"EPSG") {
        if (!allDigits(number))
            return NotFound;
        epsg = number;
    }
    return Success;
}

Status epsgToCatalogue(const std::wstring& number, std::wstring& code)
{
    code.clear();
    if (!allDigits(number))
        return NotFound;
    std::wstring digits = number.substr(std::min(number.find_first_not_of(L'0'), number.size() - 1));
    code = digits == L"4326" ? std::wstring(kLL84) : L"EPSG:" + digits;
    return Success;
}

} // namespace

Status IdToId_s(int sourceFormat, const wchar_t* code, int targetFormat, wchar_t* buffer, size_t bufferLength)
{
    if (!code || !buffer || bufferLength == 0)
        return Failure;
    buffer[0] = L'\0';
    const bool known = [](int f) { return f == FormatCatalogueCode || f == FormatEpsgNumber; }(sourceFormat)
        && (targetFormat == FormatCatalogueCode || targetFormat == FormatEpsgNumber);
    if (!known)
        return Failure;

    const std::wstring input = trimmed(code);
    std::wstring result;
    Status status = Success;
    if (sourceFormat == targetFormat) {
        // Same format: validate and hand back the canonical form.
        std::wstring scratch;
        status = sourceFormat == FormatCatalogueCode ? catalogueToEpsg(input, scratch) : epsgToCatalogue(input, scratch);
        result = sourceFormat == FormatCatalogueCode ? input : (scratch == kLL84 ? L"4326" : scratch.substr(5));
    } else if (sourceFormat == FormatCatalogueCode) {
        status = catalogueToEpsg(input, result);
    } else {
        status = epsgToCatalogue(input, result);
    }
    if (status != Success)
        return status;
    if (result.size() + 1 > bufferLength)
        return BufferTooSmall;
    std::copy(result.begin(), result.end(), buffer);
    buffer[result.size()] = L'\0';
    return Success;
}

} // namespace FormatConverter

QString databasePath()
{
    PJ_CONTEXT* ctx = Proj::threadContext();
    const char* path = ctx ? proj_context_get_database_path(ctx) : nullptr;
    return path ? QString::fromUtf8(path) : QString();
}

} // namespace SpatialReference
