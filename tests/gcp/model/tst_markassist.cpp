#include <gcp/model/CodedTargets.h>
#include <gcp/model/MarkSuggester.h>
#include <gis/Gis.h>
#include <keelcore/Dispatch.h>
#include <make_drone_photos/TargetTruth.h>
#include <support/TestSupport.h>

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace Zyn::AppGcp;
using Zyn::Tools::TargetTruth;

namespace {
const QStringList kFlight = {QStringLiteral("--count"), QStringLiteral("30"), QStringLiteral("--lat"),
                             QStringLiteral("47.07"), QStringLiteral("--lon"), QStringLiteral("15.44"),
                             QStringLiteral("--alt"), QStringLiteral("450"), QStringLiteral("--agl"),
                             QStringLiteral("100"), QStringLiteral("--width"), QStringLiteral("1600"),
                             QStringLiteral("--height"), QStringLiteral("1067"), QStringLiteral("--gcps"),
                             QStringLiteral("4"), QStringLiteral("--target-size"), QStringLiteral("3")};

GroundPoint groundOf(const TargetTruth& truth, const QString& name)
{
    GroundPoint p;
    for (const auto& t : truth.points) {
        if (t.name != name)
            continue;
        double x = t.x, y = t.y, z = t.z;
        Tarn::GIS::transformCoordToLL84(truth.crs, x, y, z);
        p = GroundPoint{x, y, t.z, true};
    }
    return p;
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
        QCOMPARE(m_photos.size(), 30);
        m_truth = Zyn::Tools::readTargetTruth(m_dir.path());
        QCOMPARE(m_truth.points.size(), 4);
        m_cache.request(m_photos);
        QTRY_VERIFY_WITH_TIMEOUT(!m_cache.isLoading(), 20000);
    }

    // Before any mark the true pixel lies inside the circle on the photos
    // that show the target.
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

    // After one mark (the surveyor's click on the true pixel of the first
    // photo showing it), the search finds the point on the others.
    void oneMarkFindsTheOthers()
    {
        int shown = 0, found = 0, close = 0, wrong = 0, notShown = 0;
        MarkerMap markers;
        for (const auto& point : m_truth.points) {
            const QHash<QString, QPointF> truth = m_truth.pixelsOf(point.name);
            QString first;
            for (const QString& path : m_photos)
                if (first.isEmpty() && truth.contains(QFileInfo(path).fileName()))
                    first = path;
            QVERIFY(!first.isEmpty());
            const QPointF t = truth.value(QFileInfo(first).fileName());
            GcpMarker mark;
            mark.image = first;
            mark.pixel = QPoint(int(std::floor(t.x())), int(std::floor(t.y())));
            MarkSuggester suggester;
            suggester.setGeoCache(&m_cache);
            suggester.setPhotos(m_photos);
            QSignalSpy progress(&suggester, &MarkSuggester::progress);
            suggester.setPoint(point.name, groundOf(m_truth, point.name), true, {mark});
            QTRY_VERIFY_WITH_TIMEOUT(!progress.isEmpty() && !suggester.isBusy(), 30000);
            for (const QString& path : suggester.predictions().keys()) {
                if (path == first)
                    continue;
                const bool shows = truth.contains(QFileInfo(path).fileName());
                const bool has = suggester.hasSuggestion(point.name, path);
                shown += shows ? 1 : 0;
                notShown += shows ? 0 : 1;
                if (has && !shows)
                    ++wrong;
                if (has && shows) {
                    ++found;
                    const double error = QLineF(suggester.suggestion(point.name, path).pixel,
                                                markerCoords(truth.value(QFileInfo(path).fileName())))
                                             .length();
                    close += error <= 1.5 ? 1 : 0;
                }
            }
            markers[point.name] << mark;
        }
        const QString figures = QStringLiteral("found %1 of %2, %3 within 1.5 px, %4 wrong of %5")
                                    .arg(found).arg(shown).arg(close).arg(wrong).arg(notShown);
        qInfo().noquote() << figures;
        QVERIFY2(close >= 0.9 * shown, qPrintable(figures));
        QVERIFY2(close == found, qPrintable(figures));
        QVERIFY2(wrong <= 0.02 * std::max(notShown, 1) + 0.5, qPrintable(figures));
    }

private:
    QTemporaryDir m_dir;
    QStringList m_photos;
    TargetTruth m_truth;
    PhotoGeoCache m_cache;
};

QTEST_MAIN(MarkAssistTest)
#include "tst_markassist.moc"
