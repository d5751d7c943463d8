#include "PhotoGeoCache.h"

#include <appcreate/PhotoGps.h>
#include <keelcore/Dispatch.h>

namespace Zyn {
namespace AppGcp {

PhotoGeo readPhotoGeo(const QString& path)
{
    PhotoGeo geo;
    geo.path = path;
    AppCreate::PhotoCameraInfo info;
    if (!AppCreate::readPhotoCameraInfo(path, &info))
        return geo;
    geo.hasGps = info.hasPosition
                 && !(info.position.latitude == 0.0 && info.position.longitude == 0.0);
    geo.longitude = info.position.longitude;
    geo.latitude = info.position.latitude;
    geo.altitude = info.position.altitude;
    geo.hasAltitude = info.position.hasAltitude;
    geo.relativeAltitude = info.relativeAltitude;
    geo.focalLength35mm = info.focalLength35mm;
    geo.focalLengthMm = info.focalLengthMm;
    geo.sensorWidthMm = info.sensorWidthMm;
    geo.pixelSize = info.pixelSize;
    geo.yawDegrees = info.yawDegrees;
    geo.pitchDegrees = info.pitchDegrees;
    return geo;
}

PhotoGeoCache::PhotoGeoCache(QObject* parent)
    : QObject(parent)
{
}

PhotoGeoCache::~PhotoGeoCache() = default;

void PhotoGeoCache::request(const QStringList& paths)
{
    QStringList missing;
    for (const QString& path : paths)
        if (!m_geo.contains(path) && !m_pending.contains(path))
            missing << path;
    if (missing.isEmpty()) {
        if (m_pending.isEmpty())
            emit loaded();
        return;
    }
    for (const QString& path : missing)
        m_pending.insert(path);
    const int generation = m_generation;
    const auto self = weakRef();
    KeelCore::dispatchAsync(KeelCore::QosBackground, [self, missing, generation] {
        QVector<PhotoGeo> batch;
        batch.reserve(missing.size());
        for (const QString& path : missing) {
            if (self.expired())
                return;
            batch << readPhotoGeo(path);
        }
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, batch, generation] {
            if (PhotoGeoCache* cache = self.lock())
                cache->store(batch, generation);
        });
    });
}

void PhotoGeoCache::store(const QVector<PhotoGeo>& batch, int generation)
{
    Q_UNUSED(generation)
    for (const PhotoGeo& geo : batch) {
        m_geo.insert(geo.path, geo);
        m_pending.remove(geo.path);
    }
    if (m_pending.isEmpty())
        emit loaded();
}

QVector<PhotoGeo> PhotoGeoCache::values(const QStringList& paths) const
{
    QVector<PhotoGeo> list;
    list.reserve(paths.size());
    for (const QString& path : paths) {
        PhotoGeo geo = m_geo.value(path);
        geo.path = path;
        list << geo;
    }
    return list;
}

PhotoGpsMap PhotoGeoCache::gpsMap(const QStringList& paths) const
{
    PhotoGpsMap map;
    for (const QString& path : paths) {
        const PhotoGeo geo = m_geo.value(path);
        if (geo.hasGps)
            map[path.toStdWString()] = {geo.longitude, geo.latitude, geo.altitude};
    }
    return map;
}

} // namespace AppGcp
} // namespace Zyn
