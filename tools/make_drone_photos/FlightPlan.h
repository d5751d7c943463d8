#pragma once

#include <cstdint>
#include <vector>

namespace Zyn {
namespace Tools {

// The survey camera: a 1-inch 20 MP sensor behind a 24 mm-equivalent lens.
struct CameraModel
{
    double sensorWidthMm = 13.2;
    double sensorHeightMm = 8.8;
    double focalLengthMm = 8.8;
    int widthPx = 5472;
    int heightPx = 3648;
};

// One angle written as EXIF degrees/minutes/seconds rationals. Seconds are
// kept in millionths so the decimal value is known exactly.
struct DmsAngle
{
    std::uint32_t degrees = 0;
    std::uint32_t minutes = 0;
    std::uint32_t microSeconds = 0; // seconds * 1e6
    char ref = 'N';

    double decimal() const;
    static DmsAngle fromDecimal(double value, char positiveRef, char negativeRef);
};

struct FlightPlanRequest
{
    double centreLat = 0.0;
    double centreLon = 0.0;
    double heightAboveGround = 100.0; // metres; sets the ground footprint
    double frontOverlap = 0.75;
    double sideOverlap = 0.65;
    int count = 0;
};

struct PhotoStation
{
    int index = 0;
    int row = 0;
    double east = 0.0;  // metres from the centre of the block
    double north = 0.0;
    double headingDeg = 0.0; // 0 flying north, 180 flying south
    double lat = 0.0;        // decimal degrees of the written rationals
    double lon = 0.0;
    DmsAngle latDms;
    DmsAngle lonDms;
    int secondsFromStart = 0;
};

struct FlightPlan
{
    double footprintWidth = 0.0;  // metres across track (the image's long side)
    double footprintHeight = 0.0; // metres along track
    double frontSpacing = 0.0;
    double rowSpacing = 0.0;
    double groundSampleDistance = 0.0; // metres per pixel
    int photosPerRow = 0;
    int rows = 0;
    std::vector<PhotoStation> stations;
};

// Lawn-mower pattern: rows running north-south, flown alternately north and
// south, spaced for the requested overlaps and centred on the given place.
FlightPlan planLawnMower(const FlightPlanRequest& request, const CameraModel& camera);

// Offsets in metres to degrees on the WGS 84 ellipsoid at a latitude.
void metresToDegrees(double latDeg, double east, double north, double& dLat, double& dLon);

// Picks `count` of `total` indices spread evenly. `fromEnd` anchors the
// spread at the last index instead of the first.
std::vector<int> spreadIndices(int total, int count, bool fromEnd);

} // namespace Tools
} // namespace Zyn
