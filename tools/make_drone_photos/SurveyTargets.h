#pragma once

#include <make_drone_photos/AerialTexture.h>
#include <make_drone_photos/FlightPlan.h>

#include <QImage>
#include <QPointF>
#include <QString>

#include <cstdint>
#include <vector>

namespace Zyn {
namespace Tools {

// A black-and-white survey target on the ground: a square of four quadrants
// (two black, two white, diagonally) inside a white frame, its centre where
// the quadrants meet.
struct SurveyTarget {
    QString name;
    int id = 0; // the number in its name
    double east = 0.0; // metres from the block centre
    double north = 0.0;
};

// n targets spread over the inner part of the flight's block, the same for
// the same plan and seed.
std::vector<SurveyTarget> placeTargets(int n, const FlightPlan& plan, std::uint32_t seed);

// Where a ground point (metres from the block centre) is in a photo, in
// pixel coordinates ((0, 0) is the top-left corner of the first pixel).
QPointF groundToImage(const QSize& image, const GroundView& view, double east, double north);

// Paints the targets of size `metres` (the checker's side) into the photo.
// Coded targets are 4x4 ArUco markers (dictionary of 250, id = the
// target's number) of that side, black border included.
void paintTargets(QImage& image, const GroundView& view, const std::vector<SurveyTarget>& targets, double metres,
                  bool coded = false);

} // namespace Tools
} // namespace Zyn
