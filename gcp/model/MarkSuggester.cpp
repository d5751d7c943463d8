#include "MarkSuggester.h"

#include "CodedTargets.h"
#include "PatchMatcher.h"

#include <keelcore/Dispatch.h>
#include <utilities/ImageRegion.h>

#include <QLineF>
#include <QMutex>
#include <QMutexLocker>

#include <cmath>

namespace Zyn {
namespace AppGcp {

namespace {
// The marked photos' regions, decoded once per search and shared by its jobs.
struct SourceRegions {
    QMutex lock;
    QHash<QString, QPair<QImage, QPoint>> regions;

    QPair<QImage, QPoint> get(const QString& path, const QRect& region)
    {
        QMutexLocker locker(&lock);
        const QString key = path + QLatin1Char('|') + QString::number(region.x()) + QLatin1Char(',')
                            + QString::number(region.y());
        auto it = regions.find(key);
        if (it == regions.end()) {
            QPoint origin;
            const QImage image = Utilities::readImageRegion(path, region, true, &origin);
            it = regions.insert(key, qMakePair(image, origin));
        }
        return it.value();
    }
};

struct SearchTask {
    QString photo;
    QString source;
    QPointF sourcePixel;
    QRect sourceRegion;
    QTransform toSource;
    QPointF nominal;
    QRect nearRegion; // around the prediction at the estimated height
    QPolygonF path;
    double radius = 0.0;
    QPolygonF excluded;
    double exclusionRadius = 0.0;
    QRect searchRegion;
};
} // namespace

MarkSuggester::MarkSuggester(QObject* parent)
    : QObject(parent),
      m_generation(std::make_shared<std::atomic<int>>(0)),
      m_codedGeneration(std::make_shared<std::atomic<int>>(0))
{
    m_searchDelay.setSingleShot(true);
    // Marker edits come in bursts (drags, arrow keys); search once they settle.
    m_searchDelay.setInterval(250);
    connect(&m_searchDelay, &QTimer::timeout, this, &MarkSuggester::startSearch);
}

MarkSuggester::~MarkSuggester()
{
    ++*m_generation;
    ++*m_codedGeneration;
}

void MarkSuggester::setGeoCache(PhotoGeoCache* cache)
{
    if (m_cache)
        disconnect(m_cache, nullptr, this, nullptr);
    m_cache = cache;
    if (m_cache)
        connect(m_cache, &PhotoGeoCache::loaded, this, &MarkSuggester::refresh);
    refresh();
}

void MarkSuggester::setPhotos(const QStringList& paths)
{
    if (paths == m_photos)
        return;
    m_photos = paths;
    refresh();
}

void MarkSuggester::setPoint(const QString& name, const GroundPoint& point, bool valid,
                             const QList<GcpMarker>& markers)
{
    if (name != m_name)
        cancel();
    m_name = name;
    m_point = point;
    m_valid = valid && !name.isEmpty();
    m_markers = markers;
    refresh();
}

void MarkSuggester::refresh()
{
    m_predictions.clear();
    m_candidates.clear();
    m_predictor.reset();
    if (!m_valid || !m_cache || m_photos.isEmpty()) {
        m_searchDelay.stop();
        emit predictionsChanged();
        return;
    }
    for (const QString& path : qAsConst(m_photos)) {
        if (!m_cache->contains(path)) {
            // loaded() brings us back.
            m_cache->request(m_photos);
            emit predictionsChanged();
            return;
        }
    }
    const QVector<PhotoGeo> geo = m_cache->values(m_photos);
    m_predictor = std::make_unique<MarkPredictor>(geo);
    m_candidates = photosNearPoint(geo, m_point);
    QVector<QPair<int, QPointF>> marks;
    for (const GcpMarker& marker : qAsConst(m_markers)) {
        const int i = m_predictor->indexOf(marker.image);
        if (i >= 0)
            marks << qMakePair(i, QPointF(marker.pixel));
    }
    // Two markers or more tell the flight's height and the heading bias;
    // one leaves a range of heights.
    m_predictor->fitToMarks(m_point, marks);
    m_heightLow = 0.95;
    m_heightHigh = 1.05;
    if (marks.size() == 1)
        m_predictor->heightScaleRange(marks.first().first, m_point, &m_heightLow, &m_heightHigh);
    m_marks = marks;
    m_bias = m_predictor->groundBias(m_point, marks);
    for (const MarkPrediction& p : m_predictor->predict(m_candidates, m_point, m_bias, !marks.isEmpty()))
        m_predictions.insert(p.path, p);
    emit predictionsChanged();
    if (!marks.isEmpty())
        m_searchDelay.start();
    else
        m_searchDelay.stop();
}

void MarkSuggester::startSearch()
{
    if (!m_predictor || m_markers.isEmpty())
        return;
    const int generation = ++*m_generation;
    m_done = m_total = 0;
    QSet<QString> marked;
    QVector<int> sources;
    for (const GcpMarker& marker : qAsConst(m_markers)) {
        marked.insert(marker.image);
        const int i = m_predictor->indexOf(marker.image);
        if (i >= 0)
            sources << i;
    }
    if (sources.isEmpty())
        return;
    const QSet<QString> rejected = m_rejected.value(m_name);
    const QHash<QString, MarkSuggestion> coded = m_suggestions.value(m_name);
    QVector<SearchTask> tasks;
    for (const QString& path : qAsConst(m_candidates)) {
        if (marked.contains(path) || rejected.contains(path) || !m_predictions.contains(path)
            || (coded.contains(path) && coded.value(path).coded))
            continue;
        const int to = m_predictor->indexOf(path);
        const PhotoCamera target = m_predictor->camera(to, m_point);
        // The nearest marked photo looks most alike.
        int source = sources.first();
        double nearest = qInf();
        for (int s : qAsConst(sources)) {
            const PhotoCamera c = m_predictor->camera(s, m_point);
            const double d = groundDistance(c.longitude, c.latitude, target.longitude, target.latitude);
            if (d < nearest) {
                nearest = d;
                source = s;
            }
        }
        SearchTask task;
        task.photo = path;
        task.source = m_photos.at(source);
        for (const GcpMarker& marker : qAsConst(m_markers))
            if (marker.image == task.source)
                task.sourcePixel = QPointF(marker.pixel);
        if (!m_predictor->localMap(source, to, m_point, m_bias, &task.toSource))
            continue;
        const MarkPrediction& p = m_predictions[path];
        task.path = m_predictor->heightPath(to, m_point, m_marks, m_heightLow, m_heightHigh);
        task.radius = p.radius;
        // Another point's spot at the same height step is excluded, as far as
        // it stays clear of this point's own.
        task.exclusionRadius = qInf();
        for (const GroundPoint& other : qAsConst(m_others)) {
            const QPolygonF there = m_predictor->heightPath(to, m_point, m_marks, m_heightLow, m_heightHigh, &other);
            for (int k = 0; k < there.size() && k < task.path.size(); ++k) {
                const double apart = QLineF(there.at(k), task.path.at(k)).length();
                if (std::isfinite(apart)) {
                    task.excluded << there.at(k);
                    task.exclusionRadius = std::min(task.exclusionRadius, apart / 2.0);
                }
            }
        }
        task.exclusionRadius = task.excluded.isEmpty() ? 0.0 : std::min(task.exclusionRadius, p.radius);
        const QRect image(QPoint(0, 0), target.size.toSize());
        const int reach = int(std::ceil(p.radius)) + m_half + 2;
        QPolygonF known;
        for (const QPointF& at : qAsConst(task.path))
            if (std::isfinite(at.x()) && std::isfinite(at.y()))
                known << at;
        if (known.isEmpty())
            continue;
        task.searchRegion = known.boundingRect().toAlignedRect().adjusted(-reach, -reach, reach, reach).intersected(image);
        task.nominal = p.pixel;
        task.nearRegion = QRectF(p.pixel, p.pixel).toAlignedRect().adjusted(-reach, -reach, reach, reach).intersected(image);
        if (task.searchRegion.width() <= 2 * m_half || task.searchRegion.height() <= 2 * m_half)
            continue;
        task.sourceRegion = PatchMatcher::sourceRegion(task.sourcePixel, task.toSource, m_half);
        tasks << task;
    }
    m_total = tasks.size();
    emitProgress();
    if (tasks.isEmpty())
        return;
    const auto shared = std::make_shared<SourceRegions>();
    const auto token = m_generation;
    const auto self = weakRef();
    const QString name = m_name;
    const int half = m_half;
    for (const SearchTask& task : qAsConst(tasks)) {
        KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [=] {
            bool found = false;
            MarkSuggestion s;
            if (token->load() == generation) {
                const auto source = shared->get(task.source, task.sourceRegion);
                const PatchMatcher matcher(source.first, source.second, task.sourcePixel, task.toSource, half);
                // Near the estimate first: a small read, and the usual answer.
                // The whole line of heights only when that finds nothing.
                PatchMatch m;
                if (matcher.isValid() && token->load() == generation && !task.nearRegion.isEmpty()) {
                    QPoint origin;
                    const QImage near = Utilities::readImageRegion(task.photo, task.nearRegion, true, &origin);
                    m = matcher.match(near, origin, QPolygonF({task.nominal}), task.radius, task.excluded,
                                      task.exclusionRadius);
                }
                if (matcher.isValid() && token->load() == generation && !m.found
                    && !task.nearRegion.contains(task.searchRegion)) {
                    QPoint origin;
                    const QImage search = Utilities::readImageRegion(task.photo, task.searchRegion, true, &origin);
                    m = matcher.match(search, origin, task.path, task.radius, task.excluded, task.exclusionRadius);
                }
                found = m.found;
                s.pixel = m.pixel;
                s.score = m.score;
            }
            KeelCore::dispatchAsync(KeelCore::QosMainThread, [=] {
                if (MarkSuggester* suggester = self.lock())
                    suggester->storeMatch(generation, name, task.photo, found, s);
            });
        });
    }
}

void MarkSuggester::storeMatch(int generation, const QString& name, const QString& path, bool found,
                               const MarkSuggestion& s)
{
    if (generation != *m_generation)
        return;
    QHash<QString, MarkSuggestion>& mine = m_suggestions[name];
    const bool had = mine.contains(path);
    if (found && !m_rejected.value(name).contains(path))
        mine.insert(path, s);
    else
        mine.remove(path);
    if (found || had)
        emit suggestionsChanged(name);
    ++m_done;
    emitProgress();
}

void MarkSuggester::emitProgress()
{
    const int done = m_done + m_codedDone, total = m_total + m_codedTotal;
    emit progress(done, total);
    if (done >= total)
        m_done = m_total = m_codedDone = m_codedTotal = 0;
}

void MarkSuggester::cancel()
{
    m_searchDelay.stop();
    ++*m_generation;
    ++*m_codedGeneration;
    if (isBusy()) {
        m_done = m_total = m_codedDone = m_codedTotal = 0;
        emit progress(0, 0);
    }
}

bool MarkSuggester::hasSuggestion(const QString& name, const QString& path) const
{
    return m_suggestions.value(name).contains(path);
}

MarkSuggestion MarkSuggester::suggestion(const QString& name, const QString& path) const
{
    return m_suggestions.value(name).value(path);
}

QStringList MarkSuggester::suggestedPhotos(const QString& name) const
{
    const QHash<QString, MarkSuggestion> mine = m_suggestions.value(name);
    QStringList paths;
    for (const QString& path : m_photos)
        if (mine.contains(path))
            paths << path;
    return paths;
}

int MarkSuggester::countAbove(const QString& name, double score) const
{
    int n = 0;
    for (const MarkSuggestion& s : m_suggestions.value(name))
        n += s.score >= score ? 1 : 0;
    return n;
}

void MarkSuggester::reject(const QString& name, const QString& path)
{
    m_rejected[name].insert(path);
    if (m_suggestions[name].remove(path))
        emit suggestionsChanged(name);
}

void MarkSuggester::consume(const QString& name, const QString& path)
{
    if (m_suggestions[name].remove(path))
        emit suggestionsChanged(name);
}

void MarkSuggester::renamePoint(const QString& oldName, const QString& newName)
{
    if (m_suggestions.contains(oldName))
        m_suggestions.insert(newName, m_suggestions.take(oldName));
    if (m_rejected.contains(oldName))
        m_rejected.insert(newName, m_rejected.take(oldName));
    if (m_name == oldName)
        m_name = newName;
    emit suggestionsChanged(newName);
}

void MarkSuggester::detectCodedTargets(const QStringList& names, const MarkerMap& markers)
{
    QHash<int, QString> byId;
    QSet<int> ambiguous;
    for (const QString& name : names) {
        const int id = codedTargetIdOfName(name);
        if (id < 0)
            continue;
        if (byId.contains(id))
            ambiguous.insert(id);
        byId.insert(id, name);
    }
    // Two points that carry one id could take each other's markers.
    for (int id : qAsConst(ambiguous))
        byId.remove(id);
    const int generation = ++*m_codedGeneration;
    m_codedDone = 0;
    m_codedFound = 0;
    m_codedTotal = m_photos.size();
    emitProgress();
    const auto token = m_codedGeneration;
    const auto self = weakRef();
    for (const QString& path : qAsConst(m_photos)) {
        QSet<QString> markedHere;
        for (auto it = markers.cbegin(); it != markers.cend(); ++it)
            for (const GcpMarker& m : it.value())
                if (m.image == path)
                    markedHere.insert(it.key());
        KeelCore::dispatchAsync(KeelCore::QosBackground, [=] {
            QVector<CodedTarget> found;
            if (token->load() == generation)
                found = AppGcp::detectCodedTargets(
                    Utilities::readImageRegion(path, QRect(0, 0, 1 << 16, 1 << 16), true));
            KeelCore::dispatchAsync(KeelCore::QosMainThread, [=] {
                MarkSuggester* suggester = self.lock();
                if (!suggester || generation != *suggester->m_codedGeneration)
                    return;
                for (const CodedTarget& t : found) {
                    const QString name = byId.value(t.id);
                    if (name.isEmpty() || markedHere.contains(name)
                        || suggester->m_rejected.value(name).contains(path))
                        continue;
                    suggester->m_suggestions[name].insert(path, MarkSuggestion{t.centre, 1.0, true});
                    ++suggester->m_codedFound;
                    emit suggester->suggestionsChanged(name);
                }
                if (++suggester->m_codedDone == suggester->m_codedTotal)
                    emit suggester->codedTargetsDone(suggester->m_codedFound);
                suggester->emitProgress();
            });
        });
    }
}

} // namespace AppGcp
} // namespace Zyn
