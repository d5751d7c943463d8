#pragma once

#include <coordsys/GcpCoordSysInfo.h>
#include <gcp/model/GcpInfo.h>

#include <QWidget>

namespace Ui {
class MarkerPlacerEx;
}

namespace Zyn {
namespace AppGcp {

class MarkerEditor;
class PhotoGeoCache;

// Two photo views side by side for placing one point: the same point on two
// photos at once, each with its own navigation. Changes made on one side
// show on the other at once.
class MarkerPlacerEx : public QWidget {
    Q_OBJECT
public:
    explicit MarkerPlacerEx(QWidget* parent = nullptr);
    ~MarkerPlacerEx() override;

    void setMarkerMap(MarkerMap* markers);
    void setGcpMap(const GcpMap* gcps);
    void setGeoCache(PhotoGeoCache* cache);
    void setFiles(const QStringList& files);
    void setCoordSys(const AppCreate::GcpCoordSysInfo& coordSys, const QString& coordsTemplate);
    // Selects the point on both sides and opens its first two photos.
    void openAt(const QString& gcpName);
    MarkerEditor* leftEditor() const;
    MarkerEditor* rightEditor() const;
    void onGcpNameChanged(const QString& oldName, const QString& newName);
    void onGcpDeleted(const QString& gcpName);

signals:
    void markerAdded(const QString& filePath);
    void markerDeleted(const QString& filePath);
    void markerChanged();
    void filterByGPSCheckedStateChanged(bool checked);
    void closeRequested();

public slots:
    void onImageShowing(const QString& filePath, bool show);
    void onMarkerAdded(const QString& filePath);
    void onMarkerDeleted(const QString& filePath);
    void onMarkerChanged();
    void onFilterByGPSCheckedStateChanged(bool checked);

private:
    MarkerEditor* otherSide(QObject* side) const;

    Ui::MarkerPlacerEx* ui = nullptr;
};

} // namespace AppGcp
} // namespace Zyn
