#include <gis/Gis.h>

#include <spatialreference/ProjContext.h>

#include <proj.h>

#include <cmath>
#include <string>
#include <unordered_map>

namespace Tarn {
namespace GIS {

namespace {

namespace Proj = SpatialReference::Proj;

// The PROJ code behind a catalogue code; empty when it is not one.
std::string projCode(const QString& code)
{
    const QString text = code.trimmed();
    if (text == QLatin1String("LL84"))
        return "EPSG:4326";
    if (text == QLatin1String("ECEF"))
        return "EPSG:4978";
    std::string authority, number;
    if (!Proj::splitCode(text.toStdString(), authority, number))
        return std::string();
    return authority + ':' + number;
}

bool isLL84(const QString& code)
{
    return code.trimmed() == QLatin1String("LL84");
}

PJ* crsFor(const std::string& code)
{
    if (code.empty())
        return nullptr;
    return Proj::cachedObject("crs:" + code, [&code](PJ_CONTEXT* ctx) -> PJ* {
        std::string authority, number;
        if (!Proj::splitCode(code, authority, number))
            return nullptr;
        return proj_create_from_database(ctx, authority.c_str(), number.c_str(), PJ_CATEGORY_CRS, false, nullptr);
    });
}

// The part of a system that carries the horizontal coordinates.
PJ* horizontalFor(const std::string& code)
{
    PJ* crs = crsFor(code);
    if (!crs || proj_get_type(crs) != PJ_TYPE_COMPOUND_CRS)
        return crs;
    return Proj::cachedObject("horizontal:" + code, [crs](PJ_CONTEXT* ctx) { return proj_crs_get_sub_crs(ctx, crs, 0); });
}

int dimensionOf(PJ_CONTEXT* ctx, PJ* crs)
{
    if (proj_get_type(crs) == PJ_TYPE_COMPOUND_CRS)
        return 3;
    PJ* cs = proj_crs_get_coordinate_system(ctx, crs);
    if (!cs)
        return 2;
    const int count = proj_cs_get_axis_count(ctx, cs);
    proj_destroy(cs);
    return count;
}

bool isThreeDimensional(const std::string& code)
{
    // Asked on every transform: remember the answer per thread rather than
    // building the coordinate-system object each time.
    thread_local std::unordered_map<std::string, bool> known;
    auto it = known.find(code);
    if (it != known.end())
        return it->second;
    PJ* crs = crsFor(code);
    const bool threeD = crs && dimensionOf(Proj::threadContext(), crs) >= 3;
    known.emplace(code, threeD);
    return threeD;
}

// From `code` to WGS 84 in longitude, latitude order; 3D systems go to
// WGS 84 3D so that their height becomes an ellipsoidal height.
PJ* toLL84For(const std::string& code)
{
    PJ* crs = crsFor(code);
    if (!crs)
        return nullptr;
    return Proj::cachedObject("toLL84:" + code, [crs](PJ_CONTEXT* ctx) -> PJ* {
        const char* target = dimensionOf(ctx, crs) >= 3 ? "EPSG:4979" : "EPSG:4326";
        PJ* wgs84 = proj_create_from_database(ctx, "EPSG", target + 5, PJ_CATEGORY_CRS, false, nullptr);
        if (!wgs84)
            return nullptr;
        PJ* op = proj_create_crs_to_crs_from_pj(ctx, crs, wgs84, nullptr, nullptr);
        proj_destroy(wgs84);
        if (!op)
            return nullptr;
        PJ* normalized = proj_normalize_for_visualization(ctx, op);
        proj_destroy(op);
        return normalized;
    });
}

bool allFinite(double x, double y, double z)
{
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
}

bool transform(const QString& code, PJ_DIRECTION direction, double& x, double& y, double& z)
{
    if (!allFinite(x, y, z))
        return false;
    if (isLL84(code))
        return isPolarCoordValid(y, x);
    const std::string crsCode = projCode(code);
    PJ* op = toLL84For(crsCode);
    if (!op)
        return false;
    proj_errno_reset(op);
    const PJ_COORD out = proj_trans(op, direction, proj_coord(x, y, z, 0));
    if (proj_errno(op) != 0 || !allFinite(out.xyz.x, out.xyz.y, out.xyz.z) || out.xyz.x == HUGE_VAL) {
        proj_errno_reset(op);
        return false;
    }
    x = out.xyz.x;
    y = out.xyz.y;
    // A 2D system has no height of its own: the caller's value passes through.
    if (isThreeDimensional(crsCode))
        z = out.xyz.z;
    return true;
}

} // namespace

bool getUTMZoneForGPSCoordinates(double longitude, double latitude, QString& zoneCode)
{
    zoneCode.clear();
    if (!isPolarCoordValid(latitude, longitude))
        return false;
    if (latitude > 84.0) {
        zoneCode = QStringLiteral("EPSG:32661");
        return true;
    }
    if (latitude < -80.0) {
        zoneCode = QStringLiteral("EPSG:32761");
        return true;
    }

    int zone = static_cast<int>(std::floor((longitude + 180.0) / 6.0)) + 1;
    if (zone > 60)
        zone = 60; // 180E belongs to the last zone
    // Band V: south-west Norway belongs to zone 32.
    if (latitude >= 56.0 && latitude < 64.0 && longitude >= 3.0 && longitude < 12.0)
        zone = 32;
    // Band X: Svalbard uses the widened odd zones 31, 33, 35 and 37.
    if (latitude >= 72.0 && longitude >= 0.0 && longitude < 42.0) {
        if (longitude < 9.0)
            zone = 31;
        else if (longitude < 21.0)
            zone = 33;
        else if (longitude < 33.0)
            zone = 35;
        else
            zone = 37;
    }
    const int base = latitude >= 0.0 ? 32600 : 32700;
    zoneCode = QStringLiteral("EPSG:%1").arg(base + zone);
    return true;
}

bool transformCoordToLL84(const QString& code, double& x, double& y, double& z)
{
    return transform(code, PJ_FWD, x, y, z);
}

bool transformCoordFromLL84(const QString& code, double& x, double& y, double& z)
{
    if (!isPolarCoordValid(y, x))
        return false;
    return transform(code, PJ_INV, x, y, z);
}

bool isPolarCS(const QString& code)
{
    if (isLL84(code))
        return true;
    PJ* horizontal = horizontalFor(projCode(code));
    if (!horizontal)
        return false;
    switch (proj_get_type(horizontal)) {
    case PJ_TYPE_GEOGRAPHIC_CRS:
    case PJ_TYPE_GEOGRAPHIC_2D_CRS:
    case PJ_TYPE_GEOGRAPHIC_3D_CRS:
        return true;
    default:
        return false;
    }
}

bool isPolarCoordValid(double latitude, double longitude, bool rejectOrigin)
{
    if (!std::isfinite(latitude) || !std::isfinite(longitude))
        return false;
    if (latitude < -90.0 || latitude > 90.0 || longitude < -180.0 || longitude > 180.0)
        return false;
    return !(rejectOrigin && latitude == 0.0 && longitude == 0.0);
}

bool isCoordValid(const QString& code, double x, double y)
{
    if (!std::isfinite(x) || !std::isfinite(y))
        return false;
    if (isLL84(code))
        return isPolarCoordValid(y, x);
    const std::string crsCode = projCode(code);
    PJ* crs = crsFor(crsCode);
    if (!crs)
        return false;
    // A geocentric position has no 2D footprint to test: any finite X, Y
    // may belong to a point on Earth.
    if (proj_get_type(crs) == PJ_TYPE_GEOCENTRIC_CRS)
        return true;

    double lon = x, lat = y, h = 0.0;
    if (!transformCoordToLL84(code, lon, lat, h))
        return false;
    if (!isPolarCoordValid(lat, lon))
        return false;

    double west = -180.0, south = -90.0, east = 180.0, north = 90.0;
    if (!proj_get_area_of_use(Proj::threadContext(), crs, &west, &south, &east, &north, nullptr) || west == -1000.0)
        return true; // no area recorded: the successful transform is all we can check
    if (lat < south || lat > north)
        return false;
    if (west <= east)
        return lon >= west && lon <= east;
    // The area crosses the antimeridian.
    return lon >= west || lon <= east;
}

QString gpsCoordToString(double value)
{
    // QString::number ignores the locale, so the decimal point stays ".".
    return QString::number(value, 'f', 8);
}

} // namespace GIS
} // namespace Tarn
