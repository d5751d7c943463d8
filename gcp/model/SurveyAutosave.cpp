#include "SurveyAutosave.h"

#include "SurveyFileFlow.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QXmlStreamReader>

namespace Zyn {
namespace AppGcp {

namespace {
QStringList sortedPhotos(QStringList photos)
{
    photos.sort();
    photos.removeDuplicates();
    return photos;
}

QStringList readPhotoList(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
} // namespace

QStringList attachMarkersToPhotos(MarkerMap& markers, const QStringList& photos)
{
    QHash<QString, QString> byName;
    for (const QString& photo : photos)
        byName.insert(QFileInfo(photo).fileName(), photo);
    QStringList unmatched;
    for (auto it = markers.begin(); it != markers.end(); ++it) {
        for (GcpMarker& marker : it.value()) {
            const QString name = QFileInfo(marker.image).fileName();
            const auto found = byName.constFind(name);
            if (found != byName.cend())
                marker.image = found.value();
            else
                unmatched << name;
        }
    }
    unmatched.removeDuplicates();
    return unmatched;
}

bool isReadableSurveyFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() == 0)
        return false;
    QXmlStreamReader xml(&file);
    bool rooted = false;
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement)
            rooted = true;
    }
    return rooted && !xml.hasError();
}

SurveyAutosave::SurveyAutosave(QObject* parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, [this] { flush(); });
}

SurveyAutosave::~SurveyAutosave()
{
    flush();
}

void SurveyAutosave::setPath(const QString& path, const QStringList& photos)
{
    if (m_pending && path != m_path)
        flush();
    if (path != m_path)
        m_writeBlocked = false;
    m_path = path;
    m_photos = sortedPhotos(photos);
}

void SurveyAutosave::schedule(const GcpList& gcps, const MarkerMap& markersByName,
                              const AppCreate::GcpCoordSysInfo& coordSys)
{
    m_gcps = gcps;
    m_markers = markersByName;
    m_coordSys = coordSys;
    m_pending = true;
    m_timer.start();
}

bool SurveyAutosave::flush()
{
    m_timer.stop();
    if (!m_pending)
        return true;
    m_pending = false;
    return write();
}

bool SurveyAutosave::write()
{
    if (m_path.isEmpty())
        return true;
    if (m_writeBlocked) {
        emit saveFailed(tr("\"%1\" could not be read and is kept as it is; the points are not saved there.")
                            .arg(QDir::toNativeSeparators(m_path)));
        return false;
    }
    const QFileInfo info(m_path);
    if (!QDir().mkpath(info.absolutePath())) {
        emit saveFailed(tr("The folder \"%1\" cannot be created.").arg(QDir::toNativeSeparators(info.absolutePath())));
        return false;
    }
    const SurveyFileResult result =
        SurveyFileFlow::writeFile(m_path, m_markers, gcpMapByName(m_gcps), m_coordSys, false);
    if (!result.ok()) {
        emit saveFailed(result.error);
        return false;
    }
    QSaveFile list(QDir(info.absolutePath()).filePath(photoListName()));
    if (list.open(QIODevice::WriteOnly | QIODevice::Text)) {
        list.write(m_photos.join(QLatin1Char('\n')).toUtf8());
        list.commit();
    }
    emit saved(m_path);
    return true;
}

SurveyAutosave::Restored SurveyAutosave::restore()
{
    Restored restored;
    if (m_path.isEmpty())
        return restored;
    QString source = m_path;
    if (!QFileInfo(source).isFile()) {
        // Another scene of the same photos: the newest one wins.
        source.clear();
        const QFileInfo here(m_path);
        const QDir scenes = QFileInfo(here.absolutePath()).dir();
        QDateTime newest;
        const QFileInfoList dirs = scenes.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
        for (const QFileInfo& dir : dirs) {
            const QString candidate = QDir(dir.absoluteFilePath()).filePath(here.fileName());
            const QFileInfo file(candidate);
            if (!file.isFile() || candidate == m_path)
                continue;
            if (sortedPhotos(readPhotoList(QDir(dir.absoluteFilePath()).filePath(photoListName()))) != m_photos)
                continue;
            if (source.isEmpty() || file.lastModified() > newest) {
                source = candidate;
                newest = file.lastModified();
            }
        }
        if (source.isEmpty())
            return restored;
    }
    if (!isReadableSurveyFile(source)) {
        // Never overwrite what cannot be read: it may be all the user has.
        const QString aside =
            source + QStringLiteral(".damaged-") + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
        const bool movedAside = QFile::rename(source, aside);
        restored.damagedKeptAs = movedAside ? aside : source;
        m_writeBlocked = !movedAside && source == m_path;
        return restored;
    }
    const SurveyLoadResult loaded = SurveyFileFlow::readFile(source);
    if (!loaded.ok()) {
        restored.damagedKeptAs = source;
        return restored;
    }
    restored.found = true;
    restored.from = source;
    restored.gcps = loaded.gcps;
    makeNamesUnique(restored.gcps);
    restored.coordSys = loaded.coordSys;
    restored.markersByName = markersByName(restored.gcps, loaded.markers);
    attachMarkersToPhotos(restored.markersByName, m_photos);
    return restored;
}

} // namespace AppGcp
} // namespace Zyn
