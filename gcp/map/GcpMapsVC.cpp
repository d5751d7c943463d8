#include "GcpMapsVC.h"

#include <gis/Gis.h>
#include <keelcore/Dispatch.h>
#include <utilities/Utilities.h>

#include <QBuffer>
#include <QImage>

#include <algorithm>
#include <cmath>

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

QString positionBlock(const QString& extraRows, const QString& latitude, const QString& longitude, double altitude)
{
    return QString::fromLatin1(kPositionBlock).arg(extraRows, latitude, longitude, QString::number(altitude, 'f', 2));
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
    return positionBlock(extraRows, Tarn::GIS::gpsCoordToString(latitude), Tarn::GIS::gpsCoordToString(longitude),
                         altitude);
}

QString GcpMapsVC::modifyCameraScript(const QString& key, const Camera& camera) const
{
    // The file name; QFileInfo costs too much for a load of thousands.
    const QString fileName = key.mid(std::max(key.lastIndexOf(QLatin1Char('/')), key.lastIndexOf(QLatin1Char('\\'))) + 1);
    QString rows = QString::fromLatin1(kPlainRow).arg(fileName.toHtmlEscaped());
    if (!camera.refGcps.isEmpty())
        rows += QString::fromLatin1(kRefGcpsRow).arg(camera.refGcps.join(QStringLiteral(", ")).toHtmlEscaped());
    const QString lat = Tarn::GIS::gpsCoordToString(camera.latitude);
    const QString lon = Tarn::GIS::gpsCoordToString(camera.longitude);
    const QString tooltip = positionBlock(rows, lat, lon, camera.altitude);
    static const QString border = kCameraBorder.name(), plainFill = kCameraFill.name(),
                         taggedFill = kTaggedCameraFill.name(), radius = QString::number(kCameraRadius),
                         opacity = QString::number(kCameraOpacity);
    return QStringLiteral("modifyCamera('%1','%2','%3','%4','%5',%6,%7,'%8')")
        .arg(jsString(key), lat, lon, camera.refGcps.isEmpty() ? plainFill : taggedFill, border, radius, opacity,
             jsString(tooltip));
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

QVector<QPointF> photoFootprintCorners(const PhotoGeo& photo, double headingDegrees)
{
    const double halfDiagonal = footprintHalfDiagonal(photo, GroundPoint());
    const double w = photo.pixelSize.isEmpty() ? 4.0 : photo.pixelSize.width();
    const double h = photo.pixelSize.isEmpty() ? 3.0 : photo.pixelSize.height();
    const double halfW = halfDiagonal * w / std::hypot(w, h);
    const double halfH = halfDiagonal * h / std::hypot(w, h);
    const double a = (std::isfinite(headingDegrees) ? headingDegrees : 0.0) * M_PI / 180.0;
    // Unit vectors (east, north) of the image's up and right directions.
    const double upE = std::sin(a), upN = std::cos(a), rightE = std::cos(a), rightN = -std::sin(a);
    const double metresPerDegreeLat = 110574.0;
    const double metresPerDegreeLon = 111320.0 * std::cos(photo.latitude * M_PI / 180.0);
    QVector<QPointF> corners;
    for (const auto& c : {std::make_pair(1, -1), std::make_pair(1, 1), std::make_pair(-1, 1), std::make_pair(-1, -1)}) {
        const double east = c.first * halfH * upE + c.second * halfW * rightE;
        const double north = c.first * halfH * upN + c.second * halfW * rightN;
        corners << QPointF(photo.latitude + north / metresPerDegreeLat, photo.longitude + east / metresPerDegreeLon);
    }
    return corners;
}

void GcpMapsVC::loadPhotoBackgrounds(const QVector<PhotoGeo>& photos)
{
    const int generation = ++m_photoGeneration;
    const QVector<double> headings = photoHeadings(photos);
    struct Job {
        QString path;
        QSize pixelSize;
        QVector<QPointF> corners;
    };
    QVector<Job> jobs;
    for (int i = 0; i < photos.size() && jobs.size() < MaxPhotoBackgrounds; ++i) {
        const PhotoGeo& p = photos.at(i);
        if (p.hasGps && Tarn::GIS::isPolarCoordValid(p.latitude, p.longitude, true))
            jobs.push_back({p.path, p.pixelSize, photoFootprintCorners(p, headings.at(i))});
    }
    if (jobs.isEmpty()) {
        emit photoBackgroundsLoaded(0);
        return;
    }
    // Thumbnails are decoded on workers, a batch at a time, and reach the
    // page from the GUI thread while this load is still the latest.
    const int batchSize = 32;
    auto remaining = std::make_shared<int>((jobs.size() + batchSize - 1) / batchSize);
    auto drawn = std::make_shared<int>(0);
    const KeelCore::WeakRef<GcpMapsVC> weak(liveness(), this);
    for (int start = 0; start < jobs.size(); start += batchSize) {
        const QVector<Job> batch = jobs.mid(start, batchSize);
        KeelCore::dispatchAsync(KeelCore::QosBackground, [weak, batch, generation, remaining, drawn] {
            QStringList scripts;
            for (const Job& job : batch) {
                QImage thumb = Utilities::loadThumbnail(job.path, QSize(ThumbnailSize, ThumbnailSize));
                if (thumb.isNull())
                    continue;
                // Embedded thumbnails of another shape than the photo carry black bands.
                if (!job.pixelSize.isEmpty()) {
                    const double want = double(job.pixelSize.width()) / job.pixelSize.height();
                    const double have = double(thumb.width()) / thumb.height();
                    if (have > want * 1.02) {
                        const int w = qRound(thumb.height() * want) - 2; // a blurred band edge stays dark
                        thumb = thumb.copy((thumb.width() - w) / 2, 0, w, thumb.height());
                    } else if (have < want / 1.02) {
                        const int h = qRound(thumb.width() / want) - 2;
                        thumb = thumb.copy(0, (thumb.height() - h) / 2, thumb.width(), h);
                    }
                }
                QByteArray jpeg;
                QBuffer buffer(&jpeg);
                buffer.open(QIODevice::WriteOnly);
                thumb.save(&buffer, "JPG", 80);
                QStringList corners;
                for (const QPointF& c : job.corners)
                    corners << QStringLiteral("[%1,%2]").arg(Tarn::GIS::gpsCoordToString(c.x()),
                                                             Tarn::GIS::gpsCoordToString(c.y()));
                scripts << QStringLiteral("setCameraPhoto('%1','data:image/jpeg;base64,%2',[%3])")
                               .arg(jsString(job.path), QString::fromLatin1(jpeg.toBase64()),
                                    corners.join(QLatin1Char(',')));
            }
            KeelCore::dispatchAsync(KeelCore::QosMainThread, [weak, scripts, generation, remaining, drawn] {
                GcpMapsVC* self = weak.lock();
                if (!self || generation != self->m_photoGeneration)
                    return;
                self->runScripts(scripts);
                *drawn += scripts.size();
                if (--*remaining == 0)
                    emit self->photoBackgroundsLoaded(*drawn);
            });
        });
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
