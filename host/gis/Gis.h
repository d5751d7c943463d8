#pragma once

#include <QString>

// Geodesy helpers backed by PROJ. Every thread uses its own PROJ context.
// Codes are the catalogue codes of SpatialReference ("LL84", "EPSG:32633",
// "ECEF" for WGS 84 geocentric).
namespace Tarn {
namespace GIS {

// The WGS 84 UTM zone code for a position ("EPSG:326zz" north, "EPSG:327zz"
// south), with the Norway (32V) and Svalbard (31X-37X) exceptions; beyond
// 84N "EPSG:32661" (UPS North), beyond 80S "EPSG:32761" (UPS South).
// zoneCode is cleared and false answered for a position that is not a
// valid longitude/latitude.
bool getUTMZoneForGPSCoordinates(double longitude, double latitude, QString& zoneCode);

// Transforms x, y, z given in the system `code` to WGS 84 longitude,
// latitude (degrees) and ellipsoidal height, in place (x = longitude,
// y = latitude). Geographic input is x = longitude, y = latitude.
// Answers false, leaving the values unchanged, when the system is unknown
// or the transform fails.
bool transformCoordToLL84(const QString& code, double& x, double& y, double& z);

// Inverse: WGS 84 longitude, latitude, height to the system `code`.
bool transformCoordFromLL84(const QString& code, double& x, double& y, double& z);

// True when the system is geographic (coordinates are longitude/latitude).
bool isPolarCS(const QString& code);

// True when latitude is within [-90, 90] and longitude within [-180, 180]
// (both finite). With rejectOrigin, the position 0, 0 (an unset position)
// is rejected too.
bool isPolarCoordValid(double latitude, double longitude, bool rejectOrigin = false);

// True when x, y in the system `code` lie inside the system's area of use
// (areas that cross the antimeridian included). Geographic systems take
// x = longitude, y = latitude. False for an unknown system.
bool isCoordValid(const QString& code, double x, double y);

// One GPS coordinate as text for the map page: decimal degrees, 8 decimals,
// "." as decimal point whatever the locale.
QString gpsCoordToString(double value);

} // namespace GIS
} // namespace Tarn
