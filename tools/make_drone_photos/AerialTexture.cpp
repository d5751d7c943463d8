#include <make_drone_photos/AerialTexture.h>

#include <QColor>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QPointF>
#include <QPolygonF>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace Zyn {
namespace Tools {

namespace {

constexpr double kCell = 50.0;  // field grid, metres
constexpr double kJitter = 9.0; // corner displacement, metres
constexpr int kRoadEveryX = 6;
constexpr int kTrackEveryY = 5;

double unit(std::uint32_t h)
{
    return (h & 0xFFFFFF) / double(0x1000000);
}

enum class Land
{
    Crop,
    Wheat,
    Soil,
    Meadow,
    Forest,
    Farmyard
};

Land landOf(std::uint32_t h)
{
    const double u = unit(h);
    if (u < 0.30)
        return Land::Crop;
    if (u < 0.48)
        return Land::Wheat;
    if (u < 0.62)
        return Land::Soil;
    if (u < 0.82)
        return Land::Meadow;
    if (u < 0.93)
        return Land::Forest;
    return Land::Farmyard;
}

QColor baseColour(Land land, std::uint32_t h)
{
    const int v = int(unit(h >> 3) * 30) - 15;
    switch (land) {
    case Land::Crop: return QColor(70 + v, 120 + v, 45 + v / 2);
    case Land::Wheat: return QColor(200 + v, 180 + v, 100 + v);
    case Land::Soil: return QColor(120 + v, 90 + v, 60 + v);
    case Land::Meadow: return QColor(100 + v, 140 + v, 70 + v);
    case Land::Forest: return QColor(40 + v / 2, 75 + v, 40 + v / 2);
    case Land::Farmyard: return QColor(150 + v, 145 + v, 130 + v);
    }
    return Qt::gray;
}

} // namespace

std::uint32_t hash3(std::int32_t x, std::int32_t y, std::uint32_t seed)
{
    std::uint32_t h = seed * 0x9E3779B9u ^ std::uint32_t(x) * 0x85EBCA6Bu ^ std::uint32_t(y) * 0xC2B2AE35u;
    h ^= h >> 16;
    h *= 0x7FEB352Du;
    h ^= h >> 15;
    h *= 0x846CA68Bu;
    h ^= h >> 16;
    return h;
}

AerialTexture::AerialTexture(std::uint32_t seed)
    : m_seed(seed)
{
}

static QTransform groundToPixel(const QImage& image, const GroundView& view)
{
    const double theta = view.headingDeg * 3.14159265358979323846 / 180.0;
    const double c = std::cos(theta) / view.metresPerPixel;
    const double s = std::sin(theta) / view.metresPerPixel;
    // Image right is the heading turned 90 degrees clockwise, image up is the heading.
    return QTransform(c, -s, -s, -c,
                      image.width() / 2.0 - (view.east * c - view.north * s),
                      image.height() / 2.0 + (view.east * s + view.north * c));
}

void AerialTexture::render(QImage& image, const GroundView& view) const
{
    const QTransform toPixel = groundToPixel(image, view);
    const QRectF ground = toPixel.inverted().mapRect(QRectF(image.rect()));
    const int i0 = int(std::floor(ground.left() / kCell)) - 1;
    const int i1 = int(std::floor(ground.right() / kCell)) + 1;
    const int j0 = int(std::floor(ground.top() / kCell)) - 1;
    const int j1 = int(std::floor(ground.bottom() / kCell)) + 1;

    auto vertex = [this](int i, int j) {
        const std::uint32_t h = hash3(i, j, m_seed);
        return QPointF(i * kCell + (unit(h) - 0.5) * 2 * kJitter,
                       j * kCell + (unit(h >> 8) - 0.5) * 2 * kJitter);
    };

    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setTransform(toPixel);
    p.fillRect(ground, QColor(110, 130, 80));

    for (int i = i0; i <= i1; ++i) {
        for (int j = j0; j <= j1; ++j) {
            const std::uint32_t h = hash3(i, j, m_seed ^ 0xA5A5A5A5u);
            const Land land = landOf(h);
            QPolygonF field;
            field << vertex(i, j) << vertex(i + 1, j) << vertex(i + 1, j + 1) << vertex(i, j + 1);
            const QColor colour = baseColour(land, h);
            p.setPen(Qt::NoPen);
            p.setBrush(colour);
            p.drawPolygon(field);

            QPainterPath clip;
            clip.addPolygon(field);
            p.save();
            p.setClipPath(clip);
            const QPointF centre = field.boundingRect().center();
            switch (land) {
            case Land::Crop:
            case Land::Wheat:
            case Land::Soil: {
                // Tractor rows across the field.
                const double spacing = 0.7 + unit(h >> 5) * 1.5;
                const double angle = (h & 1) ? 0.0 : 90.0;
                p.translate(centre);
                p.rotate(angle + (unit(h >> 11) - 0.5) * 20.0);
                p.setPen(QPen(colour.darker(125), spacing * 0.4));
                for (double y = -kCell; y <= kCell; y += spacing)
                    p.drawLine(QPointF(-kCell, y), QPointF(kCell, y));
                break;
            }
            case Land::Meadow:
                for (int k = 0; k < 40; ++k) {
                    const std::uint32_t t = hash3(i * 64 + k, j, m_seed ^ 0x1234u);
                    p.setBrush(colour.lighter(90 + int(unit(t) * 25)));
                    const double r = 1.5 + unit(t >> 4) * 5.0;
                    p.drawEllipse(QPointF(i * kCell + unit(t >> 8) * kCell, j * kCell + unit(t >> 16) * kCell), r, r * 0.7);
                }
                break;
            case Land::Forest:
                for (int k = 0; k < 110; ++k) {
                    const std::uint32_t t = hash3(i * 128 + k, j, m_seed ^ 0x7777u);
                    const QPointF c(i * kCell + unit(t >> 8) * kCell, j * kCell + unit(t >> 16) * kCell);
                    const double r = 2.0 + unit(t) * 3.0;
                    p.setBrush(QColor(25, 50 + int(unit(t >> 3) * 30), 25));
                    p.drawEllipse(c + QPointF(0.6, -0.6), r, r); // shadow side
                    p.setBrush(QColor(45, 90 + int(unit(t >> 5) * 40), 40));
                    p.drawEllipse(c, r * 0.85, r * 0.85);
                }
                break;
            case Land::Farmyard:
                for (int k = 0; k < 3; ++k) {
                    const std::uint32_t t = hash3(i * 8 + k, j, m_seed ^ 0x4242u);
                    p.save();
                    p.translate(i * kCell + 10 + unit(t >> 8) * 30, j * kCell + 10 + unit(t >> 16) * 30);
                    p.rotate(unit(t) * 90.0);
                    const double bw = 8 + unit(t >> 3) * 12, bh = 6 + unit(t >> 6) * 8;
                    p.setBrush(QColor(60, 60, 55));
                    p.drawRect(QRectF(-bw / 2 + 0.8, -bh / 2 - 0.8, bw, bh)); // shadow
                    p.setBrush((t & 2) ? QColor(150, 60, 45) : QColor(120, 120, 125));
                    p.drawRect(QRectF(-bw / 2, -bh / 2, bw, bh / 2));
                    p.setBrush(((t & 2) ? QColor(150, 60, 45) : QColor(120, 120, 125)).darker(115));
                    p.drawRect(QRectF(-bw / 2, 0, bw, bh / 2));
                    p.restore();
                }
                break;
            }
            p.restore();
        }
    }

    // Roads along every few grid columns, farm tracks along rows, hedges beside them.
    p.setBrush(Qt::NoBrush);
    for (int i = i0; i <= i1; ++i) {
        if (((i % kRoadEveryX) + kRoadEveryX) % kRoadEveryX != 0)
            continue;
        QPolygonF road;
        for (int j = j0; j <= j1 + 1; ++j)
            road << vertex(i, j);
        p.setPen(QPen(QColor(35, 60, 30), 11.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPolyline(road);
        p.setPen(QPen(QColor(88, 88, 92), 7.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPolyline(road);
        QPen dash(QColor(225, 225, 215), 0.15, Qt::CustomDashLine, Qt::FlatCap);
        dash.setDashPattern({3.0 / 0.15, 6.0 / 0.15});
        p.setPen(dash);
        p.drawPolyline(road);
    }
    for (int j = j0; j <= j1; ++j) {
        if (((j % kTrackEveryY) + kTrackEveryY) % kTrackEveryY != 0)
            continue;
        QPolygonF track;
        for (int i = i0; i <= i1 + 1; ++i)
            track << vertex(i, j);
        p.setPen(QPen(QColor(165, 145, 115), 4.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPolyline(track);
    }
}

void AerialTexture::addGrain(QImage& image, const GroundView& view, int amplitude, std::uint32_t photoSeed) const
{
    if (amplitude <= 0)
        return;
    const double theta = view.headingDeg * 3.14159265358979323846 / 180.0;
    const double c = std::cos(theta), s = std::sin(theta);
    const double gsd = view.metresPerPixel;
    const double grain = 0.05; // metres: gravel, leaves, clods
    const double w2 = image.width() / 2.0, h2 = image.height() / 2.0;
    // Ground position of a pixel, in grain cells, advanced per column.
    const double stepX = c * gsd / grain, stepY = -s * gsd / grain;
    std::uint32_t rng = photoSeed * 2654435761u + 1u;
    const int sensor = std::max(1, amplitude / 3);
    for (int py = 0; py < image.height(); ++py) {
        const double v = (h2 - py) * gsd;
        const double u0 = -w2 * gsd;
        double gx = (view.east + u0 * c + v * s) / grain;
        double gy = (view.north - u0 * s + v * c) / grain;
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(py));
        for (int px = 0; px < image.width(); ++px, gx += stepX, gy += stepY) {
            const std::uint32_t h = hash3(std::int32_t(std::floor(gx)), std::int32_t(std::floor(gy)), m_seed);
            rng ^= rng << 13;
            rng ^= rng >> 17;
            rng ^= rng << 5;
            const int d = int((h & 0xFF) * (2 * amplitude + 1) >> 8) - amplitude
                          + int((rng & 0xFF) * (2 * sensor + 1) >> 8) - sensor;
            const QRgb px0 = line[px];
            line[px] = qRgb(std::clamp(qRed(px0) + d, 0, 255), std::clamp(qGreen(px0) + d, 0, 255),
                            std::clamp(qBlue(px0) + d, 0, 255));
        }
    }
}

} // namespace Tools
} // namespace Zyn
