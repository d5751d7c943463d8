#pragma once

#include <gcp/model/GcpInfo.h>
#include <gcp/model/MarkPredictor.h>
#include <gcp/model/PhotoGeoCache.h>

#include <keelcore/SharedObject.h>

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTimer>

#include <atomic>
#include <memory>

namespace Zyn {
namespace AppGcp {

// A marker the editor proposes; it becomes a marker only when accepted.
struct MarkSuggestion {
    QPointF pixel;
    double score = 0.0; // 0 to 1
    bool coded = false; // from a coded target rather than a match
};

// Assisted marking for the editor. For the point being marked it predicts
// where the point is on every photo that can show it; once the point is
// marked on a photo it searches the other photos for the same spot on
// workers and offers what it finds as suggestions. It also finds coded
// targets on all photos. Suggestions never touch the marker map; the
// editor turns one into a marker when the surveyor accepts it. GUI thread.
class MarkSuggester : public QObject, public KeelCore::SharedObject<MarkSuggester> {
    Q_OBJECT
public:
    explicit MarkSuggester(QObject* parent = nullptr);
    ~MarkSuggester() override;

    void setGeoCache(PhotoGeoCache* cache);
    // The project's photos in capture order.
    void setPhotos(const QStringList& paths);
    // The point being marked: its position (valid false: none) and markers.
    // Predictions follow at once; a search follows shortly when it has
    // markers. The same call again after any marker change.
    void setPoint(const QString& name, const GroundPoint& point, bool valid, const QList<GcpMarker>& markers);
    QString pointName() const { return m_name; }
    // The survey's other points: a spot where one of them lies is never
    // suggested for this one.
    void setOtherPoints(const QVector<GroundPoint>& points) { m_others = points; }

    bool hasPrediction(const QString& path) const { return m_predictions.contains(path); }
    MarkPrediction prediction(const QString& path) const { return m_predictions.value(path); }
    QHash<QString, MarkPrediction> predictions() const { return m_predictions; }

    bool hasSuggestion(const QString& name, const QString& path) const;
    MarkSuggestion suggestion(const QString& name, const QString& path) const;
    // The photos with a suggestion for the point, in photo order.
    QStringList suggestedPhotos(const QString& name) const;
    int countAbove(const QString& name, double score) const;
    // Drops a suggestion; it is not offered again for that photo.
    void reject(const QString& name, const QString& path);
    // Drops a suggestion because it became a marker.
    void consume(const QString& name, const QString& path);
    void renamePoint(const QString& oldName, const QString& newName);

    // Searches every photo for coded targets; the points whose names carry
    // a target's id get suggestions. names: every point of the survey.
    void detectCodedTargets(const QStringList& names, const MarkerMap& markers);
    bool isBusy() const { return m_total + m_codedTotal > 0 || m_searchDelay.isActive(); }
    void cancel();
    int searchHalfSize() const { return m_half; }

signals:
    void predictionsChanged();
    void suggestionsChanged(const QString& name);
    // Work done of work started; total 0 when idle.
    void progress(int done, int total);
    void codedTargetsDone(int found);

private:
    void refresh();
    void startSearch();
    void storeMatch(int generation, const QString& name, const QString& path, bool found, const MarkSuggestion& s);
    void emitProgress();

    QPointer<PhotoGeoCache> m_cache;
    QStringList m_photos;
    QString m_name;
    GroundPoint m_point;
    bool m_valid = false;
    QList<GcpMarker> m_markers;
    QHash<QString, MarkPrediction> m_predictions;
    QPointF m_bias;
    QVector<QPair<int, QPointF>> m_marks;
    QVector<GroundPoint> m_others;
    double m_heightLow = 1.0;
    double m_heightHigh = 1.0;
    QHash<QString, QHash<QString, MarkSuggestion>> m_suggestions;
    QHash<QString, QSet<QString>> m_rejected;
    QTimer m_searchDelay;
    std::unique_ptr<MarkPredictor> m_predictor;
    QStringList m_candidates; // nearest first
    std::shared_ptr<std::atomic<int>> m_generation;
    std::shared_ptr<std::atomic<int>> m_codedGeneration;
    int m_codedDone = 0;
    int m_codedTotal = 0;
    int m_codedFound = 0;
    int m_done = 0;
    int m_total = 0;
    int m_half = 32;
};

} // namespace AppGcp
} // namespace Zyn
