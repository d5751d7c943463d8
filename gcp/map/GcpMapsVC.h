#pragma once

#include <coordsys/GcpCoordSysInfo.h>
#include <gcp/model/GcpInfo.h>
#include <gcp/model/PhotoFootprint.h>
#include <maps/MapsViewController.h>

#include <QHash>
#include <QPointF>
#include <QVector>
#include <QStringList>

#include <functional>

namespace Zyn {
namespace AppGcp {

// The GCP editor's map: camera positions and GCP pins, each change sent to
// the page as one script call.
class GcpMapsVC : public UiToolkit::MapsViewController {
    Q_OBJECT
public:
    // Cameras per script trip during a load; a progress call follows each.
    static constexpr int CameraBatchSize = 1000;
    static constexpr double ZoomPadding = 0.2;
    static constexpr int MaxPhotoBackgrounds = 2000;
    static constexpr int ThumbnailSize = 256;

    explicit GcpMapsVC(QObject* parent = nullptr);

    // The editor's points by name; read whenever a pin is drawn. May be null.
    void setGcps(const GcpMap* gcps) { m_gcps = gcps; }
    void setCoordSysInfo(const AppCreate::GcpCoordSysInfo& info) { m_coordSys = info; }
    const AppCreate::GcpCoordSysInfo& coordSysInfo() const { return m_coordSys; }

    // Replaces all cameras: positions are longitude, latitude, altitude.
    void loadCameras(const PhotoGpsMap& positions);
    // Names the GCPs marked on a camera's photo (shown in its tooltip and colour).
    void setCameraReferenceGcps(const QString& key, const QStringList& gcpNames);
    void removeCamera(const QString& key);
    // Draws each photo's thumbnail over its ground footprint (turned by its
    // heading when known) as an offline background; photos in capture order.
    // At most MaxPhotoBackgrounds photos, the rest keep their camera dot.
    void loadPhotoBackgrounds(const QVector<PhotoGeo>& photos);
    void setCamerasVisible(bool visible);
    bool camerasVisible() const { return m_camerasVisible; }

    // Draws, moves or removes the pin of a GCP; pinName overrides its name.
    void updateGcpPin(const GcpInfo& gcp, const QString& pinName = QString());
    void refreshGcpPins();
    void popGcpPinTooltip(const QString& name);
    void navigateToGcp(const QString& name);
    void autoZoom(double padding);

    void cameraCount(std::function<void(int)> answer);
    void isMapLoaded(std::function<void(bool)> answer);
    void isGcpPinClustering(const QString& name, std::function<void(bool)> answer);

    bool pinsOutOfDate() const { return m_pinsOutOfDate; }
    bool zoomPending() const { return m_zoomPending; }

    static QString positionTooltip(const QString& extraRows, double latitude, double longitude, double altitude);

public slots:
    void onGcpNameChanged(const QString& oldName, const QString& newName);
    void onGcpCoordsChanged(double newCoords, int index);
    void onGcpCoordsTypeChanged();
    void onGcpInfoAdded(const QString& gcpName);
    void onGcpInfoDeleted(const QString& gcpName);
    void onSelectedGcpChanged(const QString& gcpName);

signals:
    void photoBackgroundsLoaded(int count);
    void tagPhotos(const QString& gcpName);
    void cameraLoadProgress(int percent);

private:
    struct Camera {
        double latitude = 0, longitude = 0, altitude = 0;
        QStringList refGcps;
    };
    QString modifyCameraScript(const QString& key, const Camera& camera) const;
    void updatePinByName(const QString& name);
    void onVisibility(bool visible);

    const GcpMap* m_gcps = nullptr;
    AppCreate::GcpCoordSysInfo m_coordSys = AppCreate::GcpCoordSysInfo::ll84();
    QString m_currentGcp;
    QHash<QString, Camera> m_cameras;
    bool m_pinsOutOfDate = false;
    bool m_zoomPending = false;
    double m_pendingZoom = ZoomPadding;
    bool m_zoomAfterLoad = false;
    bool m_camerasVisible = true;
    int m_photoGeneration = 0;
};

// The ground corners (latitude, longitude) of a photo's nadir footprint:
// top-left, top-right, bottom-right, bottom-left of the image, its top
// facing headingDegrees (clockwise from north; NaN draws it north up).
QVector<QPointF> photoFootprintCorners(const PhotoGeo& photo, double headingDegrees);

} // namespace AppGcp
} // namespace Zyn
