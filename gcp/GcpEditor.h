#pragma once

#include <appcreate/ProcessingService.h>
#include <gcp/model/GcpInfo.h>

#include <QHash>
#include <QImage>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QWidget>


namespace Ui {
class GcpEditor;
}

namespace Zyn {
namespace AppGcp {

class GcpInfoEditor;
class GcpMapsVC;
class MarkerPlacerEx;
class PhotoGeoCache;
class SurveyAutosave;

// The GCP editor's panel: the table editor with its photo and map sides,
// kept alive between visits. Checks the points after every change and
// saves them to the scene's support file, so no work is lost.
class GcpEditor : public QWidget {
    Q_OBJECT
public:
    explicit GcpEditor(QWidget* parent = nullptr);
    ~GcpEditor() override;

    GcpInfoEditor* gcpInfoEditor() const;

    // What the create view hands over on every visit.
    void setFiles(const QStringList& files);
    void setThumbnailData(const QHash<QString, QImage>& thumbnails);
    // Resumes from the file when it exists and the editor has no points yet.
    void setSupportFilePath(const QString& path);
    QStringList files() const { return m_files; }
    QString supportFilePath() const { return m_supportFilePath; }

    // The marker placement panel of one browse request.
    void attachMarkerSignals(MarkerPlacerEx* placer);
    void prepareMarkerPlacer(MarkerPlacerEx* placer);

    bool hasPendingWork() const;
    void stopPendingWork();
    void resetForLeaving();
    // Writes the survey into a project about to be submitted: saves the
    // support file and adds the interchange files and point lists.
    bool prepareHandOff(AppCreate::ProjectRequest& request, QString* error);
    // Writes a pending autosave now (leaving, quitting).
    void flushAutosave();
    // The status sets of the last check, by point name.
    QHash<QString, QSet<int>> status() const { return m_status; }
    QString summaryText() const { return m_summary; }

signals:
    void browseButtonClicked(const QString& gcpName);

public slots:
    void onGcpNameChanged(const QString& oldName, const QString& newName);
    void onGcpCoordsChanged(double value, int index);
    void onGcpCoordsTypeChanged();
    void onGcpInfoAdded(const QString& gcpName);
    void onGcpInfoDeleted(const QString& gcpName);
    void onSelectedGcpChanged(const QString& gcpName);
    void onMarkerChanged();
    void onExternalMarkerChanged();
    void onBrowseButtonClicked();
    void onFilterByGPSCheckedStateChanged(bool checked);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void updateMapCameras();
    void updateMapReferences();
    void surveyChanged();
    void refreshStatus();
    void resume();
    void reportSaveFailure(const QString& error);

    Ui::GcpEditor* ui = nullptr;
    QStringList m_files;
    QString m_supportFilePath;
    QString m_selected;
    QHash<QString, QSet<int>> m_status;
    QString m_summary;
    bool m_saveFailureShown = false;
    PhotoGeoCache* m_geo = nullptr;
    GcpMapsVC* m_maps = nullptr;
    QStringList m_mapFiles; // the photos the map shows
    SurveyAutosave* m_autosave = nullptr;
    QList<QPointer<MarkerPlacerEx>> m_placers;
};

} // namespace AppGcp
} // namespace Zyn
