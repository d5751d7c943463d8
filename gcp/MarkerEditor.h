#pragma once

#include <coordsys/GcpCoordSysInfo.h>
#include <gcp/model/GcpInfo.h>
#include <gcp/model/PhotoGeoCache.h>

#include <QHash>
#include <QImage>
#include <QPointer>
#include <QWidget>

namespace Ui {
class MarkerEditor;
}

namespace Zyn {
namespace AppGcp {

class AssistBar;
class GcpThumbnailVC;
class MarkSuggester;
class GcpProxyModel;
class ImagePane;


// The photo side of the GCP editor: a browser of the project's photos and,
// for one photo, the pane where the selected point is placed. PageUp and
// PageDown step through the photos, Delete removes the marker, Escape
// returns to the thumbnails.
class MarkerEditor : public QWidget {
    Q_OBJECT
public:
    explicit MarkerEditor(QWidget* parent = nullptr);
    ~MarkerEditor() override;

    void setMarkerMap(MarkerMap* markers);
    void setGcpMap(const GcpMap* gcps);
    void setGeoCache(PhotoGeoCache* cache);
    PhotoGeoCache* geoCache() const { return m_geo; }
    void setFiles(const QStringList& files);
    void setThumbnailData(const QHash<QString, QImage>& thumbnails);
    void setCoordSys(const AppCreate::GcpCoordSysInfo& coordSys);
    void setCoordsTemplate(const QString& text);
    void setSelectedGcp(const QString& name);
    QString selectedGcp() const { return m_gcpName; }
    QString currentImage() const { return m_imagePath; }
    // The hint on the browse button; noMarker disables it.
    void setBrowseHint(const QString& hint, bool show, bool noMarker);
    // Sets the filter box from outside, without echoing a signal.
    void setFilterByGpsChecked(bool checked);
    bool isFilterByGpsChecked() const;
    void setFilterByGpsIdle();
    bool isFiltering() const;
    void cancelFiltering();
    bool isShowingThumbnails() const;
    void setBrowseMarkedImagesOnly(bool on) { m_browseMarkedOnly = on; }
    // Inside the survey table's panel, which has its own filter box and Done.
    void setEmbedded(bool embedded);
    bool browseMarkedImagesOnly() const { return m_browseMarkedOnly; }
    // Images to step through, and the position of the open one in it.
    QStringList navigationList() const;
    ImagePane* imagePane() const;
    GcpThumbnailVC* thumbnails() const { return m_thumbs; }
    MarkSuggester* assist() const { return m_assist; }
    AssistBar* assistBar() const;
    // Accepts the suggestions of the selected point scoring at least
    // `score`; answers how many became markers.
    int acceptSuggestionsAbove(double score);
    // Finds coded targets on every photo.
    void detectCodedTargets();
    // Redraws labels, badges and the open photo's markers.
    void refresh();
    // Named as the form's slots, connected by hand: the form has no such
    // button, and the box's object name differs in case.
    void on_button_return_clicked();
    void on_checkbox_filterByGps_toggled(bool checked);
    void onGcpNameChanged(const QString& oldName, const QString& newName);
    void onGcpCoordsChanged();

signals:
    void imageShowing(const QString& filePath, bool show);
    void markerAdded(const QString& filePath);
    void markerDeleted(const QString& filePath);
    void markerChanged();
    void browseButtonClicked();
    void returnButtonClicked();
    void markedImageUpdated(bool bImagePaneClosed);
    void filterByGPSCheckedStateChanged(bool checked);
    void thumbnailToShow(bool bShow);
    void doneButtonClicked();
    void afterGPSFiltered(int count);

public slots:
    void openImage(const QString& filePath);
    void onContextShowInfoText();
    void onFilteredByGPSCheckedStateChanged(bool checked);
    void on_button_back_clicked();
    void on_button_delete_marker_clicked();
    void on_button_browse_clicked();
    void on_button_prev_clicked();
    void on_button_next_clicked();
    void on_button_done_clicked();
    void enableDeleteButton();
    void onMarkedImageUpdated(bool closed);
    void onMarkChanged();
    void onAfterGPSFiltered(int count);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void updateNavigation();
    void updateGcpLabels();
    void updateBadges();
    void runGpsFilter();
    GroundPoint groundPointOf(const QString& name, bool* valid) const;
    void updateAssist();
    void showAssistOnPane();
    bool acceptOpenSuggestion();
    bool rejectOpenSuggestion();
    void openNextSuggestion();
    QList<GcpMarker> markersOfSelected() const;
    QStringList markedImages() const;

    Ui::MarkerEditor* ui = nullptr;
    GcpThumbnailVC* m_thumbs = nullptr;
    MarkSuggester* m_assist = nullptr;
    AssistBar* m_assistBar = nullptr;     // with the photo browser
    AssistBar* m_assistPaneBar = nullptr; // under the open photo
    QPointer<PhotoGeoCache> m_geo;
    MarkerMap* m_markers = nullptr;
    const GcpMap* m_gcps = nullptr;
    AppCreate::GcpCoordSysInfo m_coordSys;
    QString m_coordsTemplate;
    QString m_gcpName;
    QString m_imagePath;
    bool m_browseMarkedOnly = true;
    bool m_labelsActive = true;
    bool m_showFilterWithHint = true;
    bool m_showHint = true;
    bool m_noMarker = true;
};

} // namespace AppGcp
} // namespace Zyn
