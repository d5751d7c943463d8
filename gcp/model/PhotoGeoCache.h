#pragma once

#include <gcp/model/PhotoFootprint.h>
#include <gcp/model/GcpInfo.h>

#include <keelcore/SharedObject.h>

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>

namespace Zyn {
namespace AppGcp {

// Each photo's position and camera data, read once per file on a worker and
// kept for the editor's life (the photo filter, the status checks and the
// map all use it). GUI thread only.
class PhotoGeoCache : public QObject, public KeelCore::SharedObject<PhotoGeoCache> {
    Q_OBJECT
public:
    explicit PhotoGeoCache(QObject* parent = nullptr);
    ~PhotoGeoCache() override;

    // Starts reading the photos not read yet; loaded() follows when done.
    void request(const QStringList& paths);
    bool isLoading() const { return !m_pending.isEmpty(); }
    bool contains(const QString& path) const { return m_geo.contains(path); }
    PhotoGeo value(const QString& path) const { return m_geo.value(path); }
    QVector<PhotoGeo> values(const QStringList& paths) const;
    // Positions as longitude, latitude, altitude, for the photos with GPS.
    PhotoGpsMap gpsMap(const QStringList& paths) const;

signals:
    void loaded();

private:
    void store(const QVector<PhotoGeo>& batch, int generation);

    QHash<QString, PhotoGeo> m_geo;
    QSet<QString> m_pending;
    int m_generation = 0;
};

// Reads one photo (blocking; for workers).
PhotoGeo readPhotoGeo(const QString& path);

} // namespace AppGcp
} // namespace Zyn
