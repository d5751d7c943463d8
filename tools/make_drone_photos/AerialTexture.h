#pragma once

#include <QImage>

#include <cstdint>

namespace Zyn {
namespace Tools {

// What one photo sees of the ground: the camera's position in metres east
// and north of the block centre, its heading and its ground sample distance.
struct GroundView
{
    double east = 0.0;
    double north = 0.0;
    double headingDeg = 0.0;
    double metresPerPixel = 0.03;
};

// A procedural farmland scene (fields with crop rows, roads, trees, roofs)
// fixed in ground coordinates, so overlapping photos show the same ground.
class AerialTexture
{
public:
    explicit AerialTexture(std::uint32_t seed);

    // Draws the scene under `view` into `image` (Format_RGB32).
    void render(QImage& image, const GroundView& view) const;

    // Adds ground-fixed grain and per-photo sensor noise of the given
    // amplitude (0..255); this is what makes the JPEG sizes realistic.
    void addGrain(QImage& image, const GroundView& view, int amplitude, std::uint32_t photoSeed) const;

private:
    std::uint32_t m_seed;
};

std::uint32_t hash3(std::int32_t x, std::int32_t y, std::uint32_t seed);

} // namespace Tools
} // namespace Zyn
