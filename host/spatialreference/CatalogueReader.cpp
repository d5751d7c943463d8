#include <spatialreference/CatalogueReader.h>

#include <spatialreference/ProjContext.h>

#include <QElapsedTimer>
#include <QLoggingCategory>

#include <proj.h>
#include <sqlite3.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

Q_LOGGING_CATEGORY(lcCatalogue, "zyn.spatialreference.catalogue", QtWarningMsg)

namespace SpatialReference {
namespace {

struct Extra {
    UnitCode unit = UnitCode::Unknown;
    std::string datum;
    bool geographic = false; // a geographic (not geocentric) geodetic system
};

using ExtraMap = std::unordered_map<std::string, Extra>;

std::string keyOf(const unsigned char* auth, const unsigned char* code)
{
    std::string key(auth ? reinterpret_cast<const char*>(auth) : "");
    key += ':';
    key += code ? reinterpret_cast<const char*>(code) : "";
    return key;
}

std::string text(sqlite3_stmt* stmt, int column)
{
    const unsigned char* value = sqlite3_column_text(stmt, column);
    return value ? std::string(reinterpret_cast<const char*>(value)) : std::string();
}

struct DbCloser {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};

// Runs `sql` and hands every row to `row`; false on any SQLite error.
template <typename RowFn>
bool query(sqlite3* db, const char* sql, RowFn row, std::string* error)
{
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) != SQLITE_OK) {
        if (error)
            *error = sqlite3_errmsg(db);
        return false;
    }
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW)
        row(stmt);
    if (rc != SQLITE_DONE && error)
        *error = sqlite3_errmsg(db);
    sqlite3_finalize(stmt);
    return rc == SQLITE_DONE;
}

// Axis 1 carries the unit users type coordinates in (easting, latitude,
// geocentric X, height). The axis table has no index on its coordinate
// system, so it is read once into a map instead of being joined per row.
const char* const kAxisSql =
    "SELECT a.coordinate_system_auth_name, a.coordinate_system_code, a.uom_auth_name, a.uom_code, u.type"
    " FROM axis a"
    " LEFT JOIN unit_of_measure u ON u.auth_name = a.uom_auth_name AND u.code = a.uom_code"
    " WHERE a.coordinate_system_order = 1";

const char* const kGeodeticSql =
    "SELECT g.auth_name, g.code, g.coordinate_system_auth_name, g.coordinate_system_code, d.name, g.text_definition,"
    " g.type"
    " FROM geodetic_crs g"
    " LEFT JOIN geodetic_datum d ON d.auth_name = g.datum_auth_name AND d.code = g.datum_code"
    " WHERE g.deprecated = 0";

const char* const kProjectedSql =
    "SELECT p.auth_name, p.code, p.coordinate_system_auth_name, p.coordinate_system_code, d.name, p.text_definition"
    " FROM projected_crs p"
    " LEFT JOIN geodetic_crs g ON g.auth_name = p.geodetic_crs_auth_name AND g.code = p.geodetic_crs_code"
    " LEFT JOIN geodetic_datum d ON d.auth_name = g.datum_auth_name AND d.code = g.datum_code"
    " WHERE p.deprecated = 0";

const char* const kVerticalSql =
    "SELECT auth_name, code, coordinate_system_auth_name, coordinate_system_code FROM vertical_crs WHERE deprecated = 0";

const char* const kCompoundSql =
    "SELECT auth_name, code, horiz_crs_auth_name, horiz_crs_code FROM compound_crs WHERE deprecated = 0";

bool readExtras(const char* dbPath, ExtraMap& extras, std::string* error)
{
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open_v2(dbPath, &raw, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
    std::unique_ptr<sqlite3, DbCloser> db(raw);
    if (rc != SQLITE_OK) {
        if (error)
            *error = raw ? sqlite3_errmsg(raw) : "cannot open the database";
        return false;
    }

    std::unordered_map<std::string, UnitCode> csUnits;
    auto axis = [&csUnits](sqlite3_stmt* stmt) {
        csUnits[keyOf(sqlite3_column_text(stmt, 0), sqlite3_column_text(stmt, 1))] =
            CatalogueReader::unitFromDatabase(text(stmt, 2), text(stmt, 3), text(stmt, 4));
    };
    if (!query(db.get(), kAxisSql, axis, error))
        return false;
    auto unitOf = [&csUnits](sqlite3_stmt* stmt) {
        if (sqlite3_column_type(stmt, 2) == SQLITE_NULL)
            return UnitCode::Unknown;
        auto it = csUnits.find(keyOf(sqlite3_column_text(stmt, 2), sqlite3_column_text(stmt, 3)));
        return it != csUnits.end() ? it->second : UnitCode::Unknown;
    };

    auto horizontal = [&extras, &unitOf](sqlite3_stmt* stmt) {
        Extra extra;
        extra.unit = unitOf(stmt);
        if (extra.unit == UnitCode::Unknown && sqlite3_column_type(stmt, 5) != SQLITE_NULL)
            extra.unit = CatalogueReader::unitFromWkt(text(stmt, 5));
        extra.datum = text(stmt, 4);
        extra.geographic = sqlite3_column_count(stmt) > 6 && text(stmt, 6).rfind("geographic", 0) == 0;
        extras[keyOf(sqlite3_column_text(stmt, 0), sqlite3_column_text(stmt, 1))] = std::move(extra);
    };
    if (!query(db.get(), kGeodeticSql, horizontal, error) || !query(db.get(), kProjectedSql, horizontal, error))
        return false;

    auto vertical = [&extras, &unitOf](sqlite3_stmt* stmt) {
        Extra extra;
        extra.unit = unitOf(stmt);
        extras[keyOf(sqlite3_column_text(stmt, 0), sqlite3_column_text(stmt, 1))] = std::move(extra);
    };
    if (!query(db.get(), kVerticalSql, vertical, error))
        return false;

    // Compound systems take unit and datum from their horizontal part,
    // resolved once every table has been read.
    std::vector<std::pair<std::string, std::string>> compounds;
    auto compound = [&compounds](sqlite3_stmt* stmt) {
        compounds.emplace_back(keyOf(sqlite3_column_text(stmt, 0), sqlite3_column_text(stmt, 1)),
                               keyOf(sqlite3_column_text(stmt, 2), sqlite3_column_text(stmt, 3)));
    };
    if (!query(db.get(), kCompoundSql, compound, error))
        return false;
    for (const auto& c : compounds) {
        auto it = extras.find(c.second);
        extras[c.first] = it != extras.end() ? it->second : Extra();
    }
    return true;
}

std::mutex cacheMutex;
std::string cachedPath;
CatalogueReader::Entries cached;

bool isEarth(const PROJ_CRS_INFO* info)
{
    // Entries without a body come from older databases, which hold Earth only.
    return !info->celestial_body_name || std::strcmp(info->celestial_body_name, "Earth") == 0;
}

} // namespace

int CatalogueReader::typeFromProj(int projType)
{
    switch (projType) {
    case PJ_TYPE_GEOGRAPHIC_CRS:
    case PJ_TYPE_GEOGRAPHIC_2D_CRS:
    case PJ_TYPE_GEOGRAPHIC_3D_CRS:
        return TypeGeographic;
    case PJ_TYPE_PROJECTED_CRS:
    case PJ_TYPE_GEOCENTRIC_CRS:
    case PJ_TYPE_COMPOUND_CRS:
        return TypeProjected;
    default:
        return TypeOther;
    }
}

UnitCode CatalogueReader::unitFromDatabase(const std::string& authName, const std::string& code, const std::string& unitType)
{
    if (authName == "EPSG") {
        static const std::unordered_map<std::string, UnitCode> epsgUnits = {
            {"9001", UnitCode::Meter},        {"9003", UnitCode::USSurveyFoot},
            {"9002", UnitCode::Foot},         {"9036", UnitCode::Kilometer},
            {"1033", UnitCode::Centimeter},   {"1025", UnitCode::Millimeter},
            {"9097", UnitCode::InternationalChain}, {"9098", UnitCode::Link},
            {"9096", UnitCode::Yard},         {"9093", UnitCode::Mile},
            {"9030", UnitCode::NauticalMile}, {"9005", UnitCode::ClarkeFoot},
            {"9080", UnitCode::IndianFoot},   {"9031", UnitCode::GermanLegalMetre},
            {"9102", UnitCode::Degree},       {"9122", UnitCode::Degree},
            {"9105", UnitCode::Grad},         {"9103", UnitCode::ArcMinute},
            {"9104", UnitCode::ArcSecond},    {"9109", UnitCode::Microradian},
            {"9114", UnitCode::Mil},          {"9101", UnitCode::Radian},
        };
        auto it = epsgUnits.find(code);
        if (it != epsgUnits.end())
            return it->second;
    }
    if (unitType == "length")
        return UnitCode::OtherLinear;
    if (unitType == "angle")
        return UnitCode::OtherAngular;
    return UnitCode::Unknown;
}

UnitCode CatalogueReader::unitFromWkt(const std::string& wkt)
{
    // The projected system's own unit is the last UNIT of the text; the
    // ones before belong to the base geographic system.
    const auto pos = wkt.rfind("UNIT[");
    if (pos == std::string::npos)
        return UnitCode::Unknown;
    const auto comma = wkt.find(',', pos);
    if (comma == std::string::npos)
        return UnitCode::Unknown;
    const char* start = wkt.c_str() + comma + 1;
    char* end = nullptr;
    const double factor = std::strtod(start, &end);
    if (end == start || !std::isfinite(factor) || factor <= 0)
        return UnitCode::Unknown;
    struct Known {
        double factor;
        UnitCode unit;
    };
    static const Known known[] = {
        {1.0, UnitCode::Meter},
        {0.3048, UnitCode::Foot},
        {1200.0 / 3937.0, UnitCode::USSurveyFoot},
        {1000.0, UnitCode::Kilometer},
    };
    for (const Known& k : known) {
        if (std::fabs(factor - k.factor) <= 1e-12 * k.factor)
            return k.unit;
    }
    return UnitCode::OtherLinear;
}

void CatalogueReader::clearCache()
{
    std::lock_guard<std::mutex> lock(cacheMutex);
    cached.reset();
    cachedPath.clear();
}

Status CatalogueReader::readAll(Entries& shared, std::string* error)
{
    shared.reset();
    QElapsedTimer timer;
    timer.start();
    PJ_CONTEXT* ctx = Proj::threadContext();
    const char* dbPath = ctx ? proj_context_get_database_path(ctx) : nullptr;
    if (!dbPath || !*dbPath) {
        if (error)
            *error = "PROJ's database (proj.db) was not found or cannot be opened";
        return DatabaseError;
    }

    {
        std::lock_guard<std::mutex> lock(cacheMutex);
        if (cached && cachedPath == dbPath) {
            shared = cached;
            return Success;
        }
    }
    auto entries = std::make_shared<std::vector<CatalogueEntry>>();

    PROJ_CRS_LIST_PARAMETERS* params = proj_get_crs_list_parameters_create();
    if (!params)
        return Failure;
    params->allow_deprecated = 0;
    int count = 0;
    PROJ_CRS_INFO** list = proj_get_crs_info_list_from_database(ctx, nullptr, params, &count);
    proj_get_crs_list_parameters_destroy(params);
    if (!list) {
        if (error)
            *error = "PROJ's database could not be read";
        return DatabaseError;
    }

    const qint64 listMs = timer.elapsed();
    ExtraMap extras;
    extras.reserve(static_cast<size_t>(count) + 16);
    if (!readExtras(dbPath, extras, error)) {
        proj_crs_info_list_destroy(list);
        return DatabaseError;
    }

    entries->reserve(static_cast<size_t>(count));
    // PROJ lists a system once per usage (area of use): keep the first.
    std::unordered_set<std::string> listed;
    listed.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        const PROJ_CRS_INFO* info = list[i];
        if (!info || info->deprecated || !isEarth(info) || !info->auth_name || !info->code)
            continue;
        std::string key = std::string(info->auth_name) + ':' + info->code;
        if (!listed.insert(key).second)
            continue;
        CatalogueEntry entry;
        entry.authName = info->auth_name;
        entry.authCode = info->code;
        entry.name = info->name ? info->name : "";
        entry.type = typeFromProj(info->type);
        auto it = extras.find(key);
        if (it != extras.end()) {
            entry.unit = it->second.unit;
            entry.datum = it->second.datum; // vertical systems have none
            // A compound system is of the kind of its horizontal part.
            if (info->type == PJ_TYPE_COMPOUND_CRS && it->second.geographic)
                entry.type = TypeGeographic;
        }
        entries->push_back(std::move(entry));
    }
    proj_crs_info_list_destroy(list);
    qCDebug(lcCatalogue, "catalogue: %zu systems; PROJ list %lld ms, total %lld ms", entries->size(),
            static_cast<long long>(listMs), static_cast<long long>(timer.elapsed()));
    shared = entries;
    std::lock_guard<std::mutex> lock(cacheMutex);
    cachedPath = dbPath;
    cached = shared;
    return Success;
}

} // namespace SpatialReference
