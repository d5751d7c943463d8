#pragma once

#include <coordsys/GcpCoordSysInfo.h>
#include <gcp/model/GcpInfo.h>

#include <QObject>
#include <QStringList>
#include <QTimer>

namespace Zyn {
namespace AppGcp {

// Keeps the survey of a photo set saved in its support file: every change
// schedules a save one second after the last one; writes are atomic. Beside
// the survey it keeps the list of photos it belongs to, so the survey of the
// same photos can be found again from another scene.
class SurveyAutosave : public QObject {
    Q_OBJECT
public:
    struct Restored {
        bool found = false;
        QString from;          // the file read
        QString damagedKeptAs; // a damaged file was moved here
        GcpList gcps;
        MarkerMap markersByName; // images are full paths of the photos given
        AppCreate::GcpCoordSysInfo coordSys;
    };

    explicit SurveyAutosave(QObject* parent = nullptr);
    ~SurveyAutosave() override;

    // The support file and the photos of the scene.
    void setPath(const QString& path, const QStringList& photos);
    QString path() const { return m_path; }
    void setDelayMs(int ms) { m_timer.setInterval(ms); }
    void schedule(const GcpList& gcps, const MarkerMap& markersByName, const AppCreate::GcpCoordSysInfo& coordSys);
    bool isPending() const { return m_pending; }
    // Writes a pending save now; answers false when the write failed.
    bool flush();
    // The scene's survey, else the newest survey of the same photos.
    Restored restore();

    static QString photoListName() { return QStringLiteral("photos.txt"); }

signals:
    void saved(const QString& path);
    void saveFailed(const QString& error);

private:
    bool write();

    QString m_path;
    QStringList m_photos;
    QTimer m_timer;
    bool m_pending = false;
    // Set when a damaged survey could not be moved aside: it is never written over.
    bool m_writeBlocked = false;
    GcpList m_gcps;
    MarkerMap m_markers;
    AppCreate::GcpCoordSysInfo m_coordSys;
};

// Replaces the file names a survey file keeps by the full paths of the
// photos with those names; answers the names of markers with no such photo
// (kept as they were).
QStringList attachMarkersToPhotos(MarkerMap& markers, const QStringList& photos);

// Whether a survey file is well-formed XML with the survey's root.
bool isReadableSurveyFile(const QString& path);

} // namespace AppGcp
} // namespace Zyn
