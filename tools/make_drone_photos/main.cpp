// Writes a synthetic drone survey: JPEG photos along a lawn-mower flight
// with EXIF GPS positions, an EXIF thumbnail and a manifest of the truth.

#include <make_drone_photos/AerialTexture.h>
#include <make_drone_photos/ExifWriter.h>
#include <make_drone_photos/SurveyTargets.h>

#include <gis/Gis.h>
#include <make_drone_photos/FlightPlan.h>

#include <QBuffer>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QPainter>
#include <QSaveFile>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <functional>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace Zyn::Tools;

namespace {

struct Options
{
    QString outDir;
    int count = 0;
    double lat = 0.0, lon = 0.0, alt = 0.0, agl = 0.0;
    int width = 5472, height = 3648;
    int noGps = 0, zeroGps = 0;
    int quality = 92;
    std::uint32_t seed = 1;
    double sizeMb = 0.0;
    int jobs = 1;
    int gcps = 0;
    double targetSize = 1.0;
    bool codedTargets = false;
    double frontOverlap = 0.75;
    double sideOverlap = 0.65;
};

// The targets' ground truth beside the photos: their coordinates in the
// flight's UTM zone as spreadsheet text (gcp_truth.txt, its system in
// gcp_truth_crs.txt) and their true pixels in each photo (gcp_pixels.csv).
bool writeTargetTruth(const QDir& dir, const Options& o, const std::vector<SurveyTarget>& targets, std::size_t photos,
                      const std::function<QStringList(std::size_t)>& pixelsOf)
{
    QString zone;
    Tarn::GIS::getUTMZoneForGPSCoordinates(o.lon, o.lat, zone);
    if (zone.isEmpty())
        return false;
    QString truth = QStringLiteral("Name\tEasting\tNorthing\tElevation\n");
    for (const SurveyTarget& t : targets) {
        double dLat = 0, dLon = 0;
        metresToDegrees(o.lat, t.east, t.north, dLat, dLon);
        double x = o.lon + dLon, y = o.lat + dLat, z = 0.0;
        if (!Tarn::GIS::transformCoordFromLL84(zone, x, y, z))
            return false;
        truth += QStringLiteral("%1\t%2\t%3\t%4\n").arg(t.name).arg(x, 0, 'f', 3).arg(y, 0, 'f', 3).arg(o.alt - o.agl, 0, 'f', 3);
    }
    QString pixels = QStringLiteral("image,point,x,y\n");
    for (std::size_t i = 0; i < photos; ++i)
        for (const QString& line : pixelsOf(i))
            pixels += line + QLatin1Char('\n');
    const std::pair<const char*, QString> files[] = {
        {"gcp_truth.txt", truth}, {"gcp_truth_crs.txt", zone + QLatin1Char('\n')}, {"gcp_pixels.csv", pixels}};
    for (const auto& f : files) {
        QSaveFile file(dir.filePath(QString::fromLatin1(f.first)));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Text) || file.write(f.second.toUtf8()) < 0 || !file.commit())
            return false;
    }
    return true;
}

QByteArray encodeJpeg(const QImage& image, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(quality);
    if (!writer.write(image))
        return {};
    return bytes;
}

QByteArray makeThumbnail(const QImage& image)
{
    // Two steps: a fast cut to a few hundred pixels, then a smooth one.
    const QImage small = image.scaled(640, 640, Qt::KeepAspectRatio, Qt::FastTransformation)
                             .scaled(160, 120, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QImage thumb(160, 120, QImage::Format_RGB32);
    thumb.fill(Qt::black);
    QPainter p(&thumb);
    p.drawImage((160 - small.width()) / 2, (120 - small.height()) / 2, small);
    p.end();
    return encodeJpeg(thumb, 75);
}

GroundView viewOf(const PhotoStation& s, const FlightPlan& plan, const Options& o)
{
    GroundView v;
    v.east = s.east;
    v.north = s.north;
    v.headingDeg = s.headingDeg;
    v.metresPerPixel = plan.footprintWidth / o.width;
    return v;
}

// Finds the grain amplitude that brings the first photo near the target size.
int calibrateGrain(const AerialTexture& texture, const FlightPlan& plan, const Options& o, double targetBytes)
{
    QImage base(o.width, o.height, QImage::Format_RGB32);
    const GroundView view = viewOf(plan.stations.front(), plan, o);
    texture.render(base, view);
    int lo = 0, hi = 96, best = 24;
    double bestError = 1e300;
    while (lo <= hi) {
        const int mid = (lo + hi) / 2;
        QImage trial = base.copy();
        texture.addGrain(trial, view, mid, o.seed);
        const double size = encodeJpeg(trial, o.quality).size();
        const double error = std::fabs(size - targetBytes);
        if (error < bestError) {
            bestError = error;
            best = mid;
        }
        if (error < targetBytes * 0.03)
            break;
        if (size < targetBytes)
            lo = mid + 1;
        else
            hi = mid - 1;
    }
    return best;
}

bool parseOptions(const QCoreApplication& app, Options& o, QString& error)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Writes a synthetic drone photo set with EXIF GPS positions."));
    parser.addHelpOption();
    const QCommandLineOption out(QStringLiteral("out"), QStringLiteral("Output folder."), QStringLiteral("DIR"));
    const QCommandLineOption count(QStringLiteral("count"), QStringLiteral("Number of photos."), QStringLiteral("N"));
    const QCommandLineOption lat(QStringLiteral("lat"), QStringLiteral("Block centre latitude, south negative."), QStringLiteral("LAT"));
    const QCommandLineOption lon(QStringLiteral("lon"), QStringLiteral("Block centre longitude, west negative."), QStringLiteral("LON"));
    const QCommandLineOption alt(QStringLiteral("alt"), QStringLiteral("GPS altitude written, metres."), QStringLiteral("METERS"));
    const QCommandLineOption agl(QStringLiteral("agl"), QStringLiteral("Flight height above ground for the photo spacing (default: --alt, at least 20 m)."), QStringLiteral("METERS"));
    const QCommandLineOption width(QStringLiteral("width"), QStringLiteral("Image width (default 5472)."), QStringLiteral("W"));
    const QCommandLineOption height(QStringLiteral("height"), QStringLiteral("Image height (default 3648)."), QStringLiteral("H"));
    const QCommandLineOption noGps(QStringLiteral("no-gps"), QStringLiteral("Photos without a GPS block, spread ending at the last photo."), QStringLiteral("K"));
    const QCommandLineOption zeroGps(QStringLiteral("zero-gps"), QStringLiteral("Photos with all-zero GPS tags, spread starting at the first photo."), QStringLiteral("K"));
    const QCommandLineOption quality(QStringLiteral("quality"), QStringLiteral("JPEG quality 1-100 (default 92)."), QStringLiteral("Q"));
    const QCommandLineOption seed(QStringLiteral("seed"), QStringLiteral("Scene and noise seed (default 1)."), QStringLiteral("S"));
    const QCommandLineOption sizeMb(QStringLiteral("size-mb"), QStringLiteral("Target photo size in MB (default 5 at 5472x3648, scaled by pixel count)."), QStringLiteral("MB"));
    const QCommandLineOption jobs(QStringLiteral("jobs"), QStringLiteral("Parallel workers (default: cores)."), QStringLiteral("N"));
    const QCommandLineOption gcps(QStringLiteral("gcps"), QStringLiteral("Survey targets painted on the ground, with truth files (default 0)."), QStringLiteral("N"));
    const QCommandLineOption targetSize(QStringLiteral("target-size"), QStringLiteral("Side of a target's black-and-white square in metres (default 1)."), QStringLiteral("METERS"));
    const QCommandLineOption coded(QStringLiteral("coded-targets"), QStringLiteral("Paint the targets as 4x4 ArUco coded targets (id = the number in the name)."));
    const QCommandLineOption front(QStringLiteral("front-overlap"), QStringLiteral("Overlap along the track, 0-0.95 (default 0.75)."), QStringLiteral("F"));
    const QCommandLineOption side(QStringLiteral("side-overlap"), QStringLiteral("Overlap between tracks, 0-0.95 (default 0.65)."), QStringLiteral("F"));
    parser.addOptions({out, count, lat, lon, alt, agl, width, height, noGps, zeroGps, quality, seed, sizeMb, jobs, gcps,
                       targetSize, coded, front, side});
    parser.process(app);

    for (const QCommandLineOption* required : {&out, &count, &lat, &lon, &alt}) {
        if (!parser.isSet(*required)) {
            error = QStringLiteral("missing --%1").arg(required->names().constFirst());
            return false;
        }
    }
    auto number = [&](const QCommandLineOption& opt, double& v, double lo, double hi) {
        bool ok = false;
        const double x = parser.value(opt).toDouble(&ok);
        if (!ok || !std::isfinite(x) || x < lo || x > hi) {
            error = QStringLiteral("--%1 must be a number from %2 to %3").arg(opt.names().constFirst()).arg(lo).arg(hi);
            return false;
        }
        v = x;
        return true;
    };
    auto integer = [&](const QCommandLineOption& opt, int& v, int lo, int hi) {
        double x = 0.0;
        if (!number(opt, x, lo, hi))
            return false;
        if (x != std::floor(x)) {
            error = QStringLiteral("--%1 must be a whole number").arg(opt.names().constFirst());
            return false;
        }
        v = int(x);
        return true;
    };

    o.outDir = parser.value(out);
    if (!integer(count, o.count, 1, 100000) || !number(lat, o.lat, -89.0, 89.0)
        || !number(lon, o.lon, -180.0, 180.0) || !number(alt, o.alt, -1000.0, 20000.0))
        return false;
    o.agl = std::max(20.0, o.alt);
    if (parser.isSet(agl) && !number(agl, o.agl, 5.0, 20000.0))
        return false;
    if (parser.isSet(width) && !integer(width, o.width, 64, 20000))
        return false;
    if (parser.isSet(height) && !integer(height, o.height, 48, 20000))
        return false;
    if (parser.isSet(noGps) && !integer(noGps, o.noGps, 0, o.count))
        return false;
    if (parser.isSet(zeroGps) && !integer(zeroGps, o.zeroGps, 0, o.count))
        return false;
    if (o.noGps + o.zeroGps > o.count) {
        error = QStringLiteral("--no-gps and --zero-gps together exceed --count");
        return false;
    }
    if (parser.isSet(quality) && !integer(quality, o.quality, 1, 100))
        return false;
    if (parser.isSet(seed)) {
        int s = 0;
        if (!integer(seed, s, 0, 2147483647))
            return false;
        o.seed = std::uint32_t(s);
    }
    o.sizeMb = 5.0 * (double(o.width) * o.height) / (5472.0 * 3648.0);
    if (parser.isSet(sizeMb) && !number(sizeMb, o.sizeMb, 0.0, 100.0))
        return false;
    o.jobs = std::max(1, QThread::idealThreadCount());
    if (parser.isSet(jobs) && !integer(jobs, o.jobs, 1, 64))
        return false;
    if (parser.isSet(gcps) && !integer(gcps, o.gcps, 0, 100))
        return false;
    o.codedTargets = parser.isSet(coded);
    if (parser.isSet(front) && !number(front, o.frontOverlap, 0.0, 0.95))
        return false;
    if (parser.isSet(side) && !number(side, o.sideOverlap, 0.0, 0.95))
        return false;
    if (parser.isSet(targetSize) && !number(targetSize, o.targetSize, 0.1, 50.0))
        return false;
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("make_drone_photos"));

    Options o;
    QString error;
    if (!parseOptions(app, o, error)) {
        std::fprintf(stderr, "make_drone_photos: %s\n", qPrintable(error));
        return 2;
    }
    QDir dir(o.outDir);
    if (!dir.mkpath(QStringLiteral("."))) {
        std::fprintf(stderr, "make_drone_photos: cannot create %s\n", qPrintable(o.outDir));
        return 1;
    }

    QElapsedTimer timer;
    timer.start();

    FlightPlanRequest request;
    request.centreLat = o.lat;
    request.centreLon = o.lon;
    request.heightAboveGround = o.agl;
    request.count = o.count;
    request.frontOverlap = o.frontOverlap;
    request.sideOverlap = o.sideOverlap;
    const FlightPlan plan = planLawnMower(request, CameraModel());

    const std::vector<int> noGpsList = spreadIndices(o.count, o.noGps, true);
    const std::set<int> noGpsSet(noGpsList.begin(), noGpsList.end());
    std::vector<int> rest;
    for (int i = 0; i < o.count; ++i)
        if (!noGpsSet.count(i))
            rest.push_back(i);
    std::set<int> zeroSet;
    for (int k : spreadIndices(int(rest.size()), o.zeroGps, false))
        zeroSet.insert(rest[std::size_t(k)]);

    const AerialTexture texture(o.seed);
    const std::vector<SurveyTarget> targets = placeTargets(o.gcps, plan, o.seed);
    const int grain = o.sizeMb > 0 ? calibrateGrain(texture, plan, o, o.sizeMb * 1024 * 1024) : 24;
    const QDateTime start(QDate(2024, 5, 14), QTime(10, 12, 0));

    struct Row
    {
        QString file;
        double lat, lon, alt;
        GpsKind kind;
        qint64 bytes;
        QStringList pixels; // "image,point,x,y" of the targets it shows
    };
    std::vector<Row> rows(std::size_t(o.count));
    std::atomic<int> next{0};
    std::atomic<bool> failed{false};
    std::mutex errorLock;

    auto worker = [&]() {
        QImage image(o.width, o.height, QImage::Format_RGB32);
        for (int i = next++; i < o.count && !failed; i = next++) {
            const PhotoStation& s = plan.stations[std::size_t(i)];
            const GroundView view = viewOf(s, plan, o);
            texture.render(image, view);
            texture.addGrain(image, view, grain, o.seed ^ std::uint32_t(i * 7919 + 1));
            paintTargets(image, view, targets, o.targetSize, o.codedTargets);

            const std::uint32_t h = hash3(i, 0, o.seed ^ 0x5EEDu);
            PhotoExif exif;
            exif.make = QStringLiteral("Aerolux");
            exif.model = QStringLiteral("AX-20 Survey");
            exif.taken = start.addSecs(s.secondsFromStart);
            exif.width = o.width;
            exif.height = o.height;
            exif.gps = noGpsSet.count(i) ? GpsKind::None : zeroSet.count(i) ? GpsKind::AllZero : GpsKind::Position;
            exif.lat = s.latDms;
            exif.lon = s.lonDms;
            // Barometric wobble of a few decimetres, kept to whole millimetres.
            exif.altitude = std::round((o.alt + ((h & 0xFFFF) / 65535.0 - 0.5) * 0.6) * 1000.0) / 1000.0;
            exif.dop = std::round((0.7 + ((h >> 16) & 0xFF) / 255.0 * 0.8) * 100.0) / 100.0;
            exif.thumbnailJpeg = makeThumbnail(image);

            const QByteArray photo = spliceSegment(encodeJpeg(image, o.quality), buildExifSegment(exif));
            const QString name = QStringLiteral("AX20_%1.JPG").arg(i + 1, 4, 10, QLatin1Char('0'));
            QSaveFile file(dir.filePath(name));
            if (photo.isEmpty() || !file.open(QIODevice::WriteOnly) || file.write(photo) != photo.size()
                || !file.commit()) {
                std::lock_guard<std::mutex> lock(errorLock);
                std::fprintf(stderr, "make_drone_photos: cannot write %s\n", qPrintable(file.fileName()));
                failed = true;
                return;
            }
            const bool position = exif.gps == GpsKind::Position;
            QStringList pixels;
            const double half = o.targetSize * 0.75 / view.metresPerPixel; // the white frame's half side
            for (const SurveyTarget& t : targets) {
                const QPointF at = groundToImage(image.size(), view, t.east, t.north);
                if (at.x() >= half && at.y() >= half && at.x() <= o.width - half && at.y() <= o.height - half)
                    pixels << QStringLiteral("%1,%2,%3,%4").arg(name, t.name).arg(at.x(), 0, 'f', 3).arg(at.y(), 0, 'f', 3);
            }
            rows[std::size_t(i)] = Row{name, position ? s.lat : 0.0, position ? s.lon : 0.0,
                                      position ? exif.altitude : 0.0, exif.gps, photo.size(), pixels};
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < std::min(o.jobs, o.count); ++t)
        threads.emplace_back(worker);
    for (std::thread& t : threads)
        t.join();
    if (failed)
        return 1;

    QSaveFile manifest(dir.filePath(QStringLiteral("manifest.csv")));
    if (!manifest.open(QIODevice::WriteOnly | QIODevice::Text)) {
        std::fprintf(stderr, "make_drone_photos: cannot write the manifest\n");
        return 1;
    }
    manifest.write("file,lat,lon,alt,hasGps,kind\n");
    qint64 total = 0;
    for (const Row& r : rows) {
        const char* kind = r.kind == GpsKind::Position ? "gps" : r.kind == GpsKind::AllZero ? "zero" : "none";
        manifest.write(QStringLiteral("%1,%2,%3,%4,%5,%6\n")
                           .arg(r.file)
                           .arg(r.lat, 0, 'f', 9)
                           .arg(r.lon, 0, 'f', 9)
                           .arg(r.alt, 0, 'f', 3)
                           .arg(r.kind == GpsKind::Position ? 1 : 0)
                           .arg(QLatin1String(kind))
                           .toUtf8());
        total += r.bytes;
    }
    if (!manifest.commit()) {
        std::fprintf(stderr, "make_drone_photos: cannot write the manifest\n");
        return 1;
    }
    if (!targets.empty() && !writeTargetTruth(dir, o, targets, rows.size(), [&rows](std::size_t i) {
            return rows[i].pixels;
        })) {
        std::fprintf(stderr, "make_drone_photos: cannot write the target truth files\n");
        return 1;
    }

    std::printf("%d photos in %s: %d rows of %d, front spacing %.1f m, row spacing %.1f m, "
                "mean size %.2f MB, grain %d, %.1f s\n",
                o.count, qPrintable(QDir::toNativeSeparators(dir.absolutePath())), plan.rows, plan.photosPerRow,
                plan.frontSpacing, plan.rowSpacing, total / double(o.count) / (1024.0 * 1024.0), grain,
                timer.elapsed() / 1000.0);
    return 0;
}
