#pragma once

#include <coordsys/GcpCoordSysInfo.h>
#include <gcp/GcpMapBridge.h>
#include <gcp/model/GcpInfo.h>

#include <QCursor>
#include <QIcon>
#include <QHash>
#include <QMap>
#include <QPair>
#include <QPointer>
#include <QSet>
#include <QWidget>

class QLabel;
class QModelIndex;
class QTableWidgetItem;

namespace Ui {
class GcpInfoEditor;
}

namespace Zyn {
namespace AppGcp {

class MarkerEditor;

// The "Survey Points" panel: the table of survey points (names, three
// coordinates, checkpoint flag, status icon) beside the photo and map
// views. Owns the point records and their markers; tells the rest of the
// editor about every change through signals.
class GcpInfoEditor : public QWidget {
    Q_OBJECT
public:
    enum Column { ColName = 0, ColX = 1, ColY = 2, ColZ = 3, ColCheckpoint = 4, ColStatus = 5, ColumnCount = 6 };

    explicit GcpInfoEditor(QWidget* parent = nullptr);
    ~GcpInfoEditor() override;

    MarkerEditor* markerEditor() const;
    // The map side; null until a map is attached. Every call to it is guarded.
    void setMapBridge(GcpMapBridge* map);
    GcpMapBridge* mapBridge() const { return m_map; }
    QWidget* mapViewContainer() const;

    // Records, keyed by name; markers keyed by point name.
    const GcpMap& gcps() const { return m_gcps; }
    MarkerMap& markers() { return m_markers; }
    const MarkerMap& markers() const { return m_markers; }
    // Points in table order.
    GcpList gcpsInTableOrder() const;
    AppCreate::GcpCoordSysInfo coordSys() const { return m_coordSys; }
    QString currentGcpName() const { return m_current; }
    QString coordsTemplate() const { return m_coordsTemplate; }

    // Replaces every point, marker and the coordinate system (load, resume).
    void setSurvey(const GcpList& gcps, const MarkerMap& markersByName, const AppCreate::GcpCoordSysInfo& coordSys);
    // Adds pasted or imported points; names are already unique.
    void addGcps(const GcpList& gcps, const MarkerMap& markersByName = {});
    void setCoordSys(const AppCreate::GcpCoordSysInfo& coordSys);
    // Status codes of each point, by name (computed by the controller),
    // and the summary line above the table.
    void setStatus(const QHash<QString, QSet<int>>& statusByName);
    void setSummary(const QString& text);
    QSet<int> statusOfRow(int row) const;
    // Selects the row of the point (none for an empty name).
    void selectGcp(const QString& name);
    // Leaves the editor: ends a drag-swap and closes menus.
    void resetForLeaving();
    // The placement hint for the current point; noMarker tells that there
    // is no point or it has no marker yet.
    QString placementHint(bool* noMarker) const;

    // Display helpers shared with the marker editor.
    static QString unitAbbreviation(const QString& unitName);
    static QString axisShortName(const QString& axisName);
    static QString formatCoord(double value, bool geographic);

signals:
    void gcpInfoAdded(const QString& gcpName);
    void gcpInfoDeleted(const QString& gcpName);
    void gcpSelected(const QString& gcpName);
    void gcpNameChanged(const QString& oldName, const QString& newName);
    void gcpCoordsChanged(double newCoords, int index);
    void gcpCoordsTypeChanged();
    void gcpCheckpointStateChanged(bool bIsChecked);
    void doneButtonClicked();
    // Any change of points or markers (for status checks and autosave).
    void surveyChanged();

public slots:
    void on_gcp_names_tableWidget_cellPressed(int row, int column);
    void onGcpNamesTableWidgetItemChanged(QTableWidgetItem* item);
    void onGcpNamesTableWidgetItemSelectionChanged();
    void on_add_gcp_button_clicked();
    void on_del_gcp_button_clicked();
    void on_button_done_clicked();
    void on_save_button_clicked();
    void on_load_button_clicked();
    void on_photoView_button_clicked();
    void on_mapView_button_clicked();
    void onThumbnailToShow(bool bShow);
    void onAfterGPSFiltered(int count);
    void on_cb_cameras_stateChanged(int state);
    void onMarkerAdded(const QString& filePath);
    void onMarkerDeleted(const QString& filePath);
    void onCoordSysSelectionChanged(const AppCreate::GcpCoordSysInfo& data);
    void onRowsInserted(const QModelIndex& parent, int first, int last);
    void onRowsRemoved(const QModelIndex& parent, int first, int last);
    void onGcpSelected(const QString& gcpName);
    void onContextMenuPasteTriggered();
    void onContextMenuNavigateToTriggered();
    void onCustomContextMenuRequested(const QPoint& pos);
    void onTagPhotos(const QString& gcpName);
    void onPinClicked(const QString& gcpName);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    friend class GcpInfoEditorTest;

    void connectItemChanged(bool on);
    void importPoints(const GcpList& gcps, MarkerMap markers, const QString& systemCode, const QString& systemText);
    void rebuildHeaders();
    void rebuildRows(const QStringList& order);
    void appendRow(const GcpInfo& gcp);
    void fillRow(int row, const GcpInfo& gcp, bool geographic);
    int rowOf(const QString& name) const;
    QString nameOfRow(int row) const;
    QStringList tableNames() const;
    bool isUniqueName(const QString& name, int exceptRow) const;
    void refreshStatusIcons();
    void refreshPlaceholderAndButtons();
    void refreshHint();
    void refreshMagnifier();
    void changed();
    void swapCursor(int shape);
    void placeMagnifier();
    void mapPinChanged(const QString& name);
    void mapPinRemoved(const QString& name);
    void mapRefresh();

    Ui::GcpInfoEditor* ui = nullptr;
    QPointer<GcpMapBridge> m_map;
    QPointer<QLabel> m_placeholder;
    GcpMap m_gcps;
    MarkerMap m_markers;
    AppCreate::GcpCoordSysInfo m_coordSys;
    QString m_current;
    QHash<QString, QSet<int>> m_status;
    QMap<int, QPair<QString, QString>> m_statusInfo;
    QIcon m_statusIcons[3]; // valid, warning, error
    QString m_coordsTemplate;
    QCursor m_swapCursor;
    QCursor m_noSwapCursor;
    QTableWidgetItem* m_swapSource = nullptr;
    QTableWidgetItem* m_swapTarget = nullptr;
    bool m_swapCursorShown = false;
    bool m_itemChangedConnected = false;
};

} // namespace AppGcp
} // namespace Zyn
