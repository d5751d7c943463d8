#include "GcpMapsVC.h"

#include <gis/Gis.h>
#include <utilities/Utilities.h>

#include <QFileInfo>

namespace Zyn {
namespace AppGcp {

namespace {

const char* const kPositionBlock =
    "<table style=\"border:0px\">%1<tr><td>latitude:</td><td>%2</td></tr><tr><td>longitude:</td><td>%3</td></tr>"
    "<tr><td>altitude:</td><td>%4</td></tr></table>";
const char* const kRefGcpsRow = "<tr><td>ref gcps:</td><td>%1</td></tr>";
const char* const kPlainRow = "<tr><td>&nbsp;</td><td>%1</td></tr>";
const char* const kTagLink =
    "<table style=\"border:0px\"><tr><td><a onclick=\"onTagPhotoLinkClicked()\" "
    "href=\"javascript:void(0);\">Click to tag photos</a></td></tr></table>";

const QColor kCameraFill(0x1e, 0x6e, 0xc8);
const QColor kTaggedCameraFill(0x2c, 0xa0, 0x2c);
const QColor kCameraBorder(Qt::white);
const QColor kDefaultPinColour(0xc8, 0x28, 0x28);
const int kCameraRadius = 5;
const double kCameraOpacity = 0.9;
const int kPinSize = 22;

UiToolkit::MapsViewController::PageFunctions gcpPageFunctions()
{
    UiToolkit::MapsViewController::PageFunctions f;
    f.setCamera = QStringLiteral("setCamera");
    f.setGcpPin = QStringLiteral("setGcpPin");
    f.setCameraIcon = QStringLiteral("setCameraIcon");
    f.setCameraClusterIcon = QStringLiteral("setCameraClusterIcon");
    f.setGcpPinIcon = QStringLiteral("setGcpPinIcon");
    f.setGcpPinClusterIcon = QStringLiteral("setGcpPinClusterIcon");
    f.removeCamera = QStringLiteral("removeCamera");
    f.removeGcpPin = QStringLiteral("removeGcpPin");
    f.clearGcpPins = QStringLiteral("clearGcpPins");
    return f;
}

QString altitudeText(double altitude)
{
    return QString::number(altitude, 'f', 2);
}

} // namespace

GcpMapsVC::GcpMapsVC(QObject* parent)
    : MapsViewController(QStringLiteral("ap_gcp"), gcpPageFunctions(), parent)
{
    connect(this, &MapsViewController::tagPhotoLinkClicked, this, &GcpMapsVC::tagPhotos);
    connect(this, &MapsViewController::visibilityChanged, this, &GcpMapsVC::onVisibility);
}

QString GcpMapsVC::positionTooltip(const QString& extraRows, double latitude, double longitude, double altitude)
{
    return QString::fromLatin1(kPositionBlock)
        .arg(extraRows, Tarn::GIS::gpsCoordToString(latitude), Tarn::GIS::gpsCoordToString(longitude),
             altitudeText(altitude));
}

QString GcpMapsVC::modifyCameraScript(const QString& key, const Camera& camera) const
{
    QString rows = QString::fromLatin1(kPlainRow).arg(QFileInfo(key).fileName().toHtmlEscaped());
    if (!camera.refGcps.isEmpty())
        rows += QString::fromLatin1(kRefGcpsRow).arg(camera.refGcps.join(QStringLiteral(", ")).toHtmlEscaped());
    const QString tooltip = positionTooltip(rows, camera.latitude, camera.longitude, camera.altitude);
    const QColor fill = camera.refGcps.isEmpty() ? kCameraFill : kTaggedCameraFill;
    return QStringLiteral("modifyCamera('%1','%2','%3','%4','%5',%6,%7,'%8')")
        .arg(jsString(key), Tarn::GIS::gpsCoordToString(camera.latitude),
             Tarn::GIS::gpsCoordToString(camera.longitude), fill.name(), kCameraBorder.name(),
             QString::number(kCameraRadius), QString::number(kCameraOpacity), jsString(tooltip));
}

void GcpMapsVC::loadCameras(const PhotoGpsMap& positions)
{
    m_cameras.clear();
    runScript(QStringLiteral("clearCameras()"));
    QStringList batch;
    int sent = 0;
    const int total = int(positions.size());
    for (const auto& entry : positions) {
        const auto& p = entry.second;
        ++sent;
        // A photo without a usable GPS position has no place on the map.
        if (Tarn::GIS::isPolarCoordValid(p[1], p[0], true)) {
            const QString key = QString::fromStdWString(entry.first);
            Camera camera;
            camera.longitude = p[0];
            camera.latitude = p[1];
            camera.altitude = p[2];
            m_cameras.insert(key, camera);
            batch << modifyCameraScript(key, camera);
        }
        if (batch.size() >= CameraBatchSize || sent == total) {
            runScripts(batch);
            batch.clear();
            const int percent = int(qint64(sent) * 100 / total);
            runScript(QStringLiteral("setCameraLoadingProgress(%1)").arg(percent));
            m_zoomAfterLoad = true;
            emit cameraLoadProgress(percent);
        }
    }
    runScript(QStringLiteral("setCamerasLoadComplete()"));
    if (m_zoomAfterLoad) {
        m_zoomAfterLoad = false;
        autoZoom(ZoomPadding);
    }
}

void GcpMapsVC::setCameraReferenceGcps(const QString& key, const QStringList& gcpNames)
{
    auto it = m_cameras.find(key);
    if (it == m_cameras.end() || it->refGcps == gcpNames)
        return;
    it->refGcps = gcpNames;
    runScript(modifyCameraScript(key, *it));
}

void GcpMapsVC::removeCamera(const QString& key)
{
    if (m_cameras.remove(key))
        MapsViewController::removeCamera(key);
}

void GcpMapsVC::setCamerasVisible(bool visible)
{
    if (visible == m_camerasVisible)
        return;
    m_camerasVisible = visible;
    runScript(QStringLiteral("setCamerasVisible(%1)").arg(visible ? QStringLiteral("true") : QStringLiteral("false")));
}

void GcpMapsVC::updateGcpPin(const GcpInfo& gcp, const QString& pinName)
{
    if (!isViewVisible()) {
        m_pinsOutOfDate = true;
        return;
    }
    const QString name = pinName.isEmpty() ? gcp.name : pinName;
    double x = gcp.coord1, y = gcp.coord2, z = gcp.coord3;
    const bool transformed = Tarn::GIS::transformCoordToLL84(m_coordSys.code, x, y, z);
    if (!transformed || !Tarn::GIS::isPolarCoordValid(y, x, true)) {
        MapsViewController::removeGcpPin(name);
        return;
    }
    const QString tooltip = positionTooltip(QString::fromLatin1(kPlainRow).arg(name.toHtmlEscaped()), y, x, z) +
                            QString::fromLatin1(kTagLink);
    const QColor colour = gcp.colour.isValid() ? gcp.colour : kDefaultPinColour;
    runScript(QStringLiteral("modifyGcpPin('%1','%2','%3','%4','%5','%6',%7,%8,'%9')")
                  .arg(jsString(name), Tarn::GIS::gpsCoordToString(y), Tarn::GIS::gpsCoordToString(x),
                       jsString(Utilities::getElidedText(name, MaxCharCount)), colour.name(),
                       gcp.checkpoint ? QStringLiteral("checkpoint") : QStringLiteral("gcp"),
                       QString::number(kPinSize), QString::number(kPinSize), jsString(tooltip)));
}

void GcpMapsVC::updatePinByName(const QString& name)
{
    if (!m_gcps)
        return;
    const auto it = m_gcps->constFind(name);
    if (it != m_gcps->constEnd())
        updateGcpPin(*it);
}

void GcpMapsVC::refreshGcpPins()
{
    if (!isViewVisible()) {
        m_pinsOutOfDate = true;
        return;
    }
    m_pinsOutOfDate = false;
    clearGcpPins();
    if (m_gcps)
        for (const GcpInfo& gcp : *m_gcps)
            updateGcpPin(gcp);
}

void GcpMapsVC::popGcpPinTooltip(const QString& name)
{
    if (!isViewVisible()) {
        m_pinsOutOfDate = true;
        return;
    }
    runScript(QStringLiteral("popGcpPinTooltip('%1')").arg(jsString(name)));
}

void GcpMapsVC::navigateToGcp(const QString& name)
{
    if (m_pinsOutOfDate)
        refreshGcpPins();
    navigateTo(name);
}

void GcpMapsVC::autoZoom(double padding)
{
    if (!isViewVisible()) {
        m_zoomPending = true;
        m_pendingZoom = padding;
        return;
    }
    m_zoomPending = false;
    runScript(QStringLiteral("autoZoom(%1)").arg(padding));
}

void GcpMapsVC::cameraCount(std::function<void(int)> answer)
{
    runScript(QStringLiteral("cameraCount()"), [answer](const QVariant& v) { answer(v.isValid() ? v.toInt() : -1); });
}

void GcpMapsVC::isMapLoaded(std::function<void(bool)> answer)
{
    runScript(QStringLiteral("isMapLoaded()"), [answer](const QVariant& v) { answer(v.toBool()); });
}

void GcpMapsVC::isGcpPinClustering(const QString& name, std::function<void(bool)> answer)
{
    runScript(QStringLiteral("isGcpPinClustering('%1')").arg(jsString(name)),
              [answer](const QVariant& v) { answer(v.toBool()); });
}

void GcpMapsVC::onVisibility(bool visible)
{
    if (!visible)
        return;
    if (m_pinsOutOfDate)
        refreshGcpPins();
    if (m_zoomPending)
        autoZoom(m_pendingZoom);
}

void GcpMapsVC::onGcpNameChanged(const QString& oldName, const QString& newName)
{
    if (!isViewVisible()) {
        m_pinsOutOfDate = true;
        return;
    }
    MapsViewController::removeGcpPin(oldName);
    updatePinByName(newName);
}

void GcpMapsVC::onGcpCoordsChanged(double, int)
{
    updatePinByName(m_currentGcp);
}

void GcpMapsVC::onGcpCoordsTypeChanged()
{
    refreshGcpPins();
}

void GcpMapsVC::onGcpInfoAdded(const QString& gcpName)
{
    updatePinByName(gcpName);
}

void GcpMapsVC::onGcpInfoDeleted(const QString& gcpName)
{
    if (m_currentGcp == gcpName)
        m_currentGcp.clear();
    if (!isViewVisible()) {
        m_pinsOutOfDate = true;
        return;
    }
    MapsViewController::removeGcpPin(gcpName);
}

void GcpMapsVC::onSelectedGcpChanged(const QString& gcpName)
{
    m_currentGcp = gcpName;
}

} // namespace AppGcp
} // namespace Zyn
