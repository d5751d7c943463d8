#include <gcp/model/CodedTargets.h>
#include <gcp/model/MarkSuggester.h>
#include <gcp/model/PhotoFootprint.h>
#include <gcp/model/PhotoGeoCache.h>
#include <gis/Gis.h>
#include <keelcore/Dispatch.h>
#include <make_drone_photos/TargetTruth.h>
#include <support/TestSupport.h>
#include <utilities/ImageRegion.h>

#include <QtTest>

#include <cmath>

using namespace Zyn::AppGcp;
using Zyn::Tools::TargetTruth;

namespace {
const QStringList kFlight = {"--count", "30", "--lat", "47.07", "--lon", "15.44", "--alt", "450", "--agl", "100",
                             "--width", "1600", "--height", "1067", "--gcps", "4", "--target-size", "3"};

GroundPoint groundOf(const TargetTruth& truth, const QString& name)
{
    for (const auto& t : truth.points) {
        double x = t.x, y = t.y, z = t.z;
        if (t.name == name && Tarn::GIS::transformCoordToLL84(truth.crs, x, y, z))
            return GroundPoint{x, y, t.z, true};
    }
    return GroundPoint();
}

// The truth's corner-origin pixel in marker coordinates.
QPointF markerCoords(const QPointF& truth) { return truth - QPointF(0.5, 0.5); }
} // namespace

class MarkAssistTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        m_photos = Zyn::TestSupport::makeDronePhotos(m_dir.path(), kFlight);
        m_truth = Zyn::Tools::readTargetTruth(m_dir.path());
        QCOMPARE(m_truth.points.size(), 4);
        m_cache.request(m_photos);
        QTRY_VERIFY_WITH_TIMEOUT(!m_cache.isLoading(), 20000);
    }

    // Before any mark the true pixel lies inside the circle on the photos that show the target.
    void predictionsHoldTheTruePixel()
    {
        int shown = 0, inside = 0;
        MarkPredictor predictor(m_cache.values(m_photos));
        for (const auto& point : m_truth.points) {
            const QHash<QString, QPointF> truth = m_truth.pixelsOf(point.name);
            QStringList paths;
            for (const QString& file : truth.keys())
                paths << QDir(m_dir.path()).filePath(file);
            for (const MarkPrediction& p : predictor.predict(paths, groundOf(m_truth, point.name), {}, false)) {
                const QPointF real = markerCoords(truth.value(QFileInfo(p.path).fileName()));
                inside += QLineF(p.pixel, real).length() <= p.radius ? 1 : 0;
            }
            shown += truth.size();
        }
        QVERIFY(shown > 20);
        QVERIFY2(inside >= 0.95 * shown, qPrintable(QStringLiteral("%1 of %2").arg(inside).arg(shown)));
    }

    // The footprint filter on a plain flight, against the footprint's own
    // geometry: every photo that shows the point passes, and at most a
    // quarter of the passing photos do not show it.
    void filterFindsThePhotosShowingAPoint_data()
    {
        QTest::addColumn<double>("east");
        QTest::addColumn<double>("north");
        QTest::newRow("block centre") << 0.0 << 0.0;
        QTest::newRow("off centre") << 37.0 << -52.0;
        QTest::newRow("near the edge") << -110.0 << 90.0;
    }
    void filterFindsThePhotosShowingAPoint()
    {
        QFETCH(double, east);
        QFETCH(double, north);
        static QTemporaryDir flightDir;
        static const QStringList flight = Zyn::TestSupport::makeDronePhotos(
            flightDir.path(), {"--count", "40", "--lat", "47.07", "--lon", "15.44", "--alt", "100"});
        QVector<PhotoGeo> photos;
        for (const QString& path : flight)
            photos << readPhotoGeo(path);
        const double lat = 47.07 + north / 110574.0;
        const double lon = 15.44 + east / (111320.0 * std::cos(47.07 * M_PI / 180.0));
        const QStringList passing = photosNearPoint(photos, GroundPoint{lon, lat, 0.0, true});
        // Rows run north-south; 100 m up a photo covers 150 m across, 100 m along.
        int showing = 0, falsePasses = 0;
        for (const PhotoGeo& photo : photos) {
            const double dx = (lon - photo.longitude) * 111320.0 * std::cos(lat * M_PI / 180.0);
            const double dy = (lat - photo.latitude) * 110574.0;
            const bool shows = std::abs(dx) <= 75.0 && std::abs(dy) <= 50.0;
            showing += shows;
            if (shows)
                QVERIFY2(passing.contains(photo.path), qPrintable(photo.path));
            else if (passing.contains(photo.path))
                ++falsePasses;
        }
        QVERIFY(showing > 0);
        QVERIFY2(falsePasses * 4 <= passing.size(),
                 qPrintable(QStringLiteral("%1 of %2").arg(falsePasses).arg(passing.size())));
    }

    // After one mark (the surveyor's click on the true pixel of the first
    // photo showing it), the search finds the point on the others.
    void oneMarkFindsTheOthers()
    {
        int shown = 0, found = 0, close = 0, wrong = 0, notShown = 0;
        for (const auto& point : m_truth.points) {
            const QHash<QString, QPointF> truth = m_truth.pixelsOf(point.name);
            QString first;
            for (const QString& path : m_photos)
                if (first.isEmpty() && truth.contains(QFileInfo(path).fileName()))
                    first = path;
            QVERIFY(!first.isEmpty());
            const QPointF t = truth.value(QFileInfo(first).fileName());
            const GcpMarker mark{QString(), first, QPoint(int(std::floor(t.x())), int(std::floor(t.y()))), 1};
            MarkSuggester suggester;
            suggester.setGeoCache(&m_cache);
            suggester.setPhotos(m_photos);
            QVector<GroundPoint> others;
            for (const auto& other : m_truth.points)
                if (other.name != point.name)
                    others << groundOf(m_truth, other.name);
            suggester.setOtherPoints(others);
            QSignalSpy progress(&suggester, &MarkSuggester::progress);
            suggester.setPoint(point.name, groundOf(m_truth, point.name), true, {mark});
            QTRY_VERIFY_WITH_TIMEOUT(!progress.isEmpty() && !suggester.isBusy(), 30000);
            for (const QString& path : suggester.predictions().keys()) {
                if (path == first)
                    continue;
                const bool shows = truth.contains(QFileInfo(path).fileName());
                const bool has = suggester.hasSuggestion(point.name, path);
                shown += shows;
                notShown += !shows;
                wrong += has && !shows;
                if (has && shows) {
                    ++found;
                    const QPointF real = markerCoords(truth.value(QFileInfo(path).fileName()));
                    close += QLineF(suggester.suggestion(point.name, path).pixel, real).length() <= 1.5;
                }
            }
        }
        const QString figures = QStringLiteral("found %1 of %2, %3 within 1.5 px, %4 wrong of %5")
                                    .arg(found).arg(shown).arg(close).arg(wrong).arg(notShown);
        qInfo().noquote() << figures;
        QVERIFY2(close >= 0.9 * shown, qPrintable(figures));
        QVERIFY2(close == found, qPrintable(figures));
        QVERIFY2(wrong <= 0.02 * std::max(notShown, 1) + 0.5, qPrintable(figures));
    }

    // The lens's field of view: the sensor's width with the true focal
    // length beats the 35 mm figure; implausible tags fall back.
    void fieldOfView_data()
    {
        QTest::addColumn<double>("focalMm");
        QTest::addColumn<double>("sensorMm");
        QTest::addColumn<double>("focal35mm");
        QTest::addColumn<double>("degrees");
        QTest::newRow("focal length and sensor") << 24.0 << 13.2 << 24.0 << 36.58;
        QTest::newRow("sensor of a resized photo") << 24.0 << 0.2 << 50.0 << 46.79;
        QTest::newRow("35 mm only") << 0.0 << 0.0 << 50.0 << 46.79;
        QTest::newRow("nothing") << 0.0 << 0.0 << 0.0 << 84.0;
    }
    void fieldOfView()
    {
        QFETCH(double, focalMm);
        QFETCH(double, sensorMm);
        QFETCH(double, focal35mm);
        QFETCH(double, degrees);
        PhotoGeo photo;
        photo.pixelSize = QSize(5472, 3648);
        photo.focalLengthMm = focalMm;
        photo.sensorWidthMm = sensorMm;
        photo.focalLength35mm = focal35mm;
        const double fov = diagonalFieldOfView(photo);
        QVERIFY2(std::abs(fov - degrees) < 0.01, qPrintable(QString::number(fov)));
        // The generated photos carry the flight plan's 13.2 mm sensor.
        QVERIFY(std::abs(m_cache.values(m_photos).first().sensorWidthMm - 13.2) < 0.01);
    }

    // A compass mounted off true turns every photo: markers on a few photos
    // tell the turn, and the other predictions come back onto the point.
    void headingBiasLearnt_data()
    {
        QTest::addColumn<double>("turn");
        QTest::newRow("none") << 0.0;
        QTest::newRow("7 degrees") << 7.0;
        QTest::newRow("-12 degrees") << -12.0;
    }
    void headingBiasLearnt()
    {
        QFETCH(double, turn);
        const auto& point = m_truth.points.first();
        const QHash<QString, QPointF> truth = m_truth.pixelsOf(point.name);
        QVector<PhotoGeo> geo = m_cache.values(m_photos);
        const QVector<double> headings = photoHeadings(geo);
        for (int i = 0; i < geo.size(); ++i)
            geo[i].yawDegrees = headings.at(i) + turn;
        MarkPredictor predictor(geo);
        const GroundPoint ground = groundOf(m_truth, point.name);
        QVector<QPair<int, QPointF>> marks;
        QStringList others;
        for (int i = 0; i < geo.size(); ++i) {
            const QString file = QFileInfo(geo.at(i).path).fileName();
            if (!truth.contains(file))
                continue;
            if (marks.size() < 3 && i % 2 == marks.size() % 2) // photos from both directions of the flight
                marks << qMakePair(i, markerCoords(truth.value(file)));
            else
                others << geo.at(i).path;
        }
        QCOMPARE(marks.size(), 3);
        predictor.fitToMarks(ground, marks);
        QVERIFY2(std::abs(predictor.headingBias() + turn) < 1.0, qPrintable(QString::number(predictor.headingBias())));
        const QVector<MarkPrediction> predictions =
            predictor.predict(others, ground, predictor.groundBias(ground, marks), true);
        QVERIFY(predictions.size() >= 3);
        for (const MarkPrediction& p : predictions) {
            const double error = QLineF(p.pixel, markerCoords(truth.value(QFileInfo(p.path).fileName()))).length();
            QVERIFY2(error <= p.radius, qPrintable(QStringLiteral("%1 px off, radius %2").arg(error).arg(p.radius)));
        }
    }

    // Printed coded targets: found on every photo that shows them, at their centre, never with another id.
    void codedTargetsFound()
    {
        QTemporaryDir dir;
        QStringList args = kFlight;
        args.replace(args.indexOf(QStringLiteral("30")), QStringLiteral("12"));
        const QStringList photos = Zyn::TestSupport::makeDronePhotos(dir.path(), args << "--coded-targets");
        const TargetTruth truth = Zyn::Tools::readTargetTruth(dir.path());
        int shown = 0, found = 0, wrong = 0;
        for (const QString& path : photos) {
            QHash<int, QPointF> expected;
            for (const auto& p : truth.pixels)
                if (p.image == QFileInfo(path).fileName())
                    expected.insert(codedTargetIdOfName(p.point), markerCoords(p.pixel));
            shown += expected.size();
            for (const CodedTarget& t :
                 detectCodedTargets(Zyn::Utilities::readImageRegion(path, QRect(0, 0, 9999, 9999), true))) {
                if (expected.contains(t.id) && QLineF(t.centre, expected.value(t.id)).length() <= 1.0)
                    ++found;
                else
                    ++wrong;
            }
        }
        QVERIFY(shown > 10);
        QVERIFY2(found >= 0.95 * shown && wrong == 0,
                 qPrintable(QStringLiteral("%1 of %2, %3 wrong").arg(found).arg(shown).arg(wrong)));
    }

    void targetIdOfName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("id");
        QTest::newRow("number") << "12" << 12;
        QTest::newRow("prefix") << "GCP12" << 12;
        QTest::newRow("letter, space") << "T 7" << 7;
        QTest::newRow("leading zeros") << "gcp-012" << 12;
        QTest::newRow("two numbers") << "A1B2" << -1;
        QTest::newRow("beyond the dictionary") << "GCP250" << -1;
        QTest::newRow("no number") << "Church" << -1;
    }
    void targetIdOfName()
    {
        QFETCH(QString, name);
        QFETCH(int, id);
        QCOMPARE(codedTargetIdOfName(name), id);
    }

    // No suggestion and no error when the help cannot work.
    void degradesQuietly_data()
    {
        QTest::addColumn<int>("fault");
        QTest::newRow("a photo that cannot be decoded") << 0;
        QTest::newRow("a point without coordinates") << 1;
        QTest::newRow("a flight without GPS") << 2;
    }
    void degradesQuietly()
    {
        QFETCH(int, fault);
        const QString point = m_truth.points.first().name;
        const QHash<QString, QPointF> truth = m_truth.pixelsOf(point);
        QStringList photos;
        for (const QString& path : m_photos)
            if (truth.contains(QFileInfo(path).fileName()))
                photos << path;
        QTemporaryDir dir;
        PhotoGeoCache cache;
        if (fault == 0) {
            // Its metadata intact, its image data cut short.
            const QString cut = dir.filePath(QStringLiteral("cut.jpg"));
            QVERIFY(Zyn::TestSupport::writeFile(cut, Zyn::TestSupport::readFile(photos.at(1)).left(40000)));
            photos[1] = cut;
        } else if (fault == 2) {
            photos = Zyn::TestSupport::makeDronePhotos(dir.path(), kFlight + QStringList{"--no-gps", "30"}).mid(0, 8);
        }
        const QPointF t = truth.value(QFileInfo(photos.first()).fileName());
        const GcpMarker mark{QString(), photos.first(), QPoint(int(t.x()), int(t.y())), 1};
        MarkSuggester suggester;
        suggester.setGeoCache(&cache);
        suggester.setPhotos(photos);
        QSignalSpy progress(&suggester, &MarkSuggester::progress);
        suggester.setPoint(point, fault == 1 ? GroundPoint() : groundOf(m_truth, point), fault != 1, {mark});
        // Without a position nothing is searched; else a search runs and ends.
        QTRY_VERIFY_WITH_TIMEOUT(fault == 1 || (!progress.isEmpty() && !suggester.isBusy()), 20000);
        if (fault == 0) {
            QVERIFY(!suggester.hasSuggestion(point, photos.at(1)));
            QVERIFY(suggester.suggestedPhotos(point).size() >= 2); // the others still helped
        } else {
            QVERIFY(suggester.predictions().isEmpty());
            QVERIFY(suggester.suggestedPhotos(point).isEmpty());
        }
    }

private:
    QTemporaryDir m_dir;
    QStringList m_photos;
    TargetTruth m_truth;
    PhotoGeoCache m_cache;
};

QTEST_MAIN(MarkAssistTest)
#include "tst_markassist.moc"
