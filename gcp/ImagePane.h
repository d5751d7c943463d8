#pragma once

#include <gcp/model/GcpInfo.h>
#include <gcp/model/MarkPredictor.h>
#include <gcp/model/MarkSuggester.h>

#include <uitoolkit/LxMagnifyingGlass.h>
#include <uitoolkit/LxPixelMarker.h>
#include <uitoolkit/ZoomableImgWidget.h>

#include <QColor>
#include <QCursor>
#include <QList>
#include <QPointer>

namespace Zyn {
namespace AppGcp {

// The photo on which the selected point is placed as a pixel marker: a
// click puts (or moves) the point's one marker on this photo, the marker
// can be dragged or nudged with the arrow keys, and a magnifier beside it
// shows the pixel close up. Other points' markers on the photo are shown
// locked, with their names. Works on the editor's shared marker map.
class ImagePane : public UiToolkit::ZoomableImgWidget {
    Q_OBJECT
public:
    explicit ImagePane(QWidget* parent = nullptr);
    ~ImagePane() override;

    void setMarkerMap(MarkerMap* markers) { m_markers = markers; }
    void setGcpMap(const GcpMap* gcps) { m_gcps = gcps; }
    void setSelectedGcp(const QString& name);
    QString selectedGcp() const { return m_gcpName; }
    // Loads the photo and shows the markers on it.
    void showImage(const QString& filePath);
    QString currentImage() const { return m_imagePath; }
    // Redraws the markers from the map (after a change made elsewhere).
    void refreshMarkers();
    // Removes the selected point's marker from this photo.
    void removeCurrentMarker();
    bool hasPlacedMarker() const;
    QPoint markerPixel() const;
    void setLock(bool locked);
    bool isLocked() const { return m_locked; }
    UiToolkit::LxPixelMarker* currentMarker() const { return m_marker; }
    UiToolkit::LxMagnifyingGlass* magnifier() const { return m_glass; }
    QList<UiToolkit::LxPixelMarker*> otherMarkers() const;

    // Marking help on this photo: the circle where the point should be and
    // a suggested marker; null clears either.
    void setAssistOverlay(const MarkPrediction* prediction, const MarkSuggestion* suggestion);
    bool hasSuggestion() const { return m_hasSuggestion; }
    QPoint suggestionPixel() const;
    // Places the point's marker on the suggestion, as a click would.
    void acceptSuggestion();

signals:
    void markerAdded(const QString& filePath);
    void markerPlaced();
    void markerRemoved();
    void imageShowing(const QString& filePath, bool show);
    void markerChanged();

public slots:
    void onMagnifyingGlassMoving(const QPoint& offset);
    void onMagnifyingGlassPanning(const QPoint& offset, const QPoint& newCoords);
    void onMagnifyingGlassClickedOutside(const QPoint& pos);
    void onPixelSelected();
    void onPixelMoving(const QPoint& newPos);
    void onPixelStopMoving();
    void onPixelDeleting(bool deleting);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintImage(QPainter& painter, const QRect& exposed) override;

private:
    void placeAt(const QPoint& pixel, bool storeInMap);
    void storeMarker(const QPoint& pixel);
    void followView();
    void placeMagnifier();
    QColor colourOf(const QString& name) const;
    void placeByUser(const QPoint& pixel, const QPoint& widgetPos);
    void paintAssist(QPainter& painter) const;

    MarkerMap* m_markers = nullptr;
    const GcpMap* m_gcps = nullptr;
    QString m_gcpName;
    QString m_imagePath;
    QPointer<UiToolkit::LxMagnifyingGlass> m_glass;
    QList<QPointer<UiToolkit::LxPixelMarker>> m_others;
    QPointer<UiToolkit::LxPixelMarker> m_marker;
    QColor m_colour = Qt::yellow;
    bool m_locked = false;
    bool m_wasPanning = false;
    // A double click zooms; the placement its first click made is undone.
    struct Undo {
        bool valid = false;
        bool hadMarker = false;
        QPoint pixel;
    } m_undo;
    bool m_skipRelease = false;
    QCursor m_pickCursor;
    MarkPrediction m_prediction;
    MarkSuggestion m_suggestion;
    bool m_hasPrediction = false;
    bool m_hasSuggestion = false;
};

} // namespace AppGcp
} // namespace Zyn
