#include "ProcessingService.h"

#include "PhotoGps.h"

#include <keelcore/Dispatch.h>
#include <spatialreference/SpatialReference.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <cmath>

namespace Zyn {
namespace AppCreate {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("Zyn::AppCreate::ProcessingService", text);
}

bool readManifest(const QString& folder, QJsonObject* manifest, QString* error)
{
    QFile file(QDir(folder).filePath(ProcessingService::manifestFileName()));
    if (!file.open(QIODevice::ReadOnly)) {
        *error = tr("The project manifest is missing or cannot be read.");
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError || !doc.isObject()) {
        *error = tr("The project manifest is damaged.");
        return false;
    }
    *manifest = doc.object();
    return true;
}

bool writeManifest(const QString& folder, const QJsonObject& manifest, QString* error)
{
    // Written whole or not at all, so a reader never sees half a manifest.
    QSaveFile file(QDir(folder).filePath(ProcessingService::manifestFileName()));
    if (!file.open(QIODevice::WriteOnly)) {
        *error = file.errorString();
        return false;
    }
    file.write(QJsonDocument(manifest).toJson(QJsonDocument::Indented));
    if (!file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}

// The pixel size arrives as a float; keep the value the user chose (0.01,
// not 0.009999999776).
double cleanPixelSize(float metres)
{
    return std::round(double(metres) * 1e6) / 1e6;
}

} // namespace

ProcessingService::ProcessingService(QObject* parent)
    : QObject(parent)
{
}

ProcessingService* ProcessingService::instance()
{
    static ProcessingService* service = new ProcessingService;
    return service;
}

QString ProcessingService::projectsDirectory()
{
    const QString overridden = qEnvironmentVariable("ZYN_PROJECTS_DIR");
    if (!overridden.isEmpty())
        return QDir::cleanPath(overridden);
    QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (documents.isEmpty())
        documents = QDir::homePath();
    return QDir(documents).filePath(QStringLiteral("ZynPhoto Projects"));
}

bool ProcessingService::isValidProjectName(const QString& name, QString* error)
{
    auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    if (name.trimmed().isEmpty())
        return fail(tr("The project name is empty."));
    if (name != name.trimmed())
        return fail(tr("The project name must not begin or end with a space."));
    if (name.startsWith(QLatin1Char('.')))
        return fail(tr("The project name must not begin with a dot."));
    for (const QChar c : name) {
        if (c == QLatin1Char('/') || c == QLatin1Char('\\') || c.category() == QChar::Other_Control)
            return fail(tr("The project name must not contain slashes or control characters."));
    }
    // Well inside every file system's limit, and short enough to read in lists.
    if (name.size() > MaxProjectNameLength)
        return fail(tr("The project name is too long: at most %1 characters.").arg(MaxProjectNameLength));
    return true;
}

QString ProcessingService::projectExistsText(const QString& name)
{
    return tr("A project named \"%1\" already exists. Choose another name; existing projects are never overwritten.")
        .arg(name);
}

bool ProcessingService::projectExists(const QString& name) const
{
    if (name.isEmpty())
        return false;
    return QFileInfo::exists(QDir(projectsDirectory()).filePath(name));
}

bool ProcessingService::submitProject(const ProjectRequest& request, QString* projectFolder, QString* error)
{
    auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    QString why;
    if (!isValidProjectName(request.name, &why))
        return fail(why);
    if (projectExists(request.name))
        return fail(projectExistsText(request.name));
    if (request.photos.isEmpty())
        return fail(tr("The project has no photos."));

    QJsonObject coordSys;
    coordSys.insert(QStringLiteral("code"), request.coordSysId);
    {
        SpatialReference::CoordinateReferenceSystemDefinition* def =
            SpatialReference::CoordinateReferenceSystemDefinition::Create(request.coordSysId);
        if (!def)
            return fail(tr("The coordinate system \"%1\" is not known.").arg(request.coordSysId));
        bool isNumber = false;
        const int epsg = def->epsg().toInt(&isNumber);
        coordSys.insert(QStringLiteral("epsg"), isNumber ? QJsonValue(epsg) : QJsonValue());
        coordSys.insert(QStringLiteral("description"), def->description());
        coordSys.insert(QStringLiteral("wkt"), def->wkt());
        def->Destroy();
    }

    const QString root = projectsDirectory();
    if (!QDir().mkpath(root))
        return fail(tr("The projects folder \"%1\" cannot be created.").arg(QDir::toNativeSeparators(root)));
    // mkdir fails when the folder appeared meanwhile: never write into it then.
    if (!QDir(root).mkdir(request.name))
        return fail(projectExists(request.name)
                        ? projectExistsText(request.name)
                        : tr("The project folder cannot be created in \"%1\".").arg(QDir::toNativeSeparators(root)));
    const QString folder = QDir(root).filePath(request.name);

    QJsonObject gcp;
    if (!request.gcpSupportFile.isEmpty()) {
        gcp.insert(QStringLiteral("supportFile"), request.gcpSupportFile);
        // A copy keeps the project whole even after the support folder goes.
        const QString copyName = QFileInfo(request.gcpSupportFile).fileName();
        if (QFileInfo(request.gcpSupportFile).isFile()
            && QFile::copy(request.gcpSupportFile, QDir(folder).filePath(copyName)))
            gcp.insert(QStringLiteral("file"), copyName);
        else
            gcp.insert(QStringLiteral("file"), QJsonValue());
    }
    if (!request.controlPoints.isEmpty() || !request.checkpoints.isEmpty()) {
        gcp.insert(QStringLiteral("controlPoints"), QJsonArray::fromStringList(request.controlPoints));
        gcp.insert(QStringLiteral("checkpoints"), QJsonArray::fromStringList(request.checkpoints));
    }
    QJsonArray gcpFiles;
    for (auto it = request.files.cbegin(); it != request.files.cend(); ++it) {
        const QString name = QFileInfo(it.key()).fileName();
        QSaveFile file(QDir(folder).filePath(name));
        if (name.isEmpty() || name == manifestFileName() || !file.open(QIODevice::WriteOnly)
            || file.write(it.value()) != it.value().size() || !file.commit()) {
            QDir(folder).removeRecursively();
            return fail(tr("The file \"%1\" cannot be written into the project folder.").arg(name));
        }
        gcpFiles.append(name);
    }
    if (!gcpFiles.isEmpty())
        gcp.insert(QStringLiteral("files"), gcpFiles);

    QJsonArray photos;
    for (const QString& path : request.photos) {
        QJsonObject photo;
        photo.insert(QStringLiteral("path"), QFileInfo(path).absoluteFilePath());
        photo.insert(QStringLiteral("gps"), QJsonValue());
        photos.append(photo);
    }

    QJsonObject outputs;
    outputs.insert(QStringLiteral("mesh"), request.mesh);
    outputs.insert(QStringLiteral("pointCloud"), request.pointCloud);
    outputs.insert(QStringLiteral("orthoMap"), request.orthoMap);

    QJsonObject manifest;
    manifest.insert(QStringLiteral("format"), QStringLiteral("zynphoto-project"));
    manifest.insert(QStringLiteral("version"), 1);
    manifest.insert(QStringLiteral("name"), request.name);
    manifest.insert(QStringLiteral("created"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
    manifest.insert(QStringLiteral("state"), stateQueued());
    manifest.insert(QStringLiteral("stateDetail"), QString());
    manifest.insert(QStringLiteral("outputs"), outputs);
    manifest.insert(QStringLiteral("pixelSizeMeters"), cleanPixelSize(request.pixelSizeMeters));
    manifest.insert(QStringLiteral("coordinateSystem"), coordSys);
    manifest.insert(QStringLiteral("gcp"), gcp.isEmpty() ? QJsonValue() : QJsonValue(gcp));
    manifest.insert(QStringLiteral("photos"), photos);

    if (!writeManifest(folder, manifest, &why)) {
        // Only what this call made is removed: the folder was created above.
        QDir(folder).removeRecursively();
        return fail(tr("The project manifest cannot be written: %1").arg(why));
    }
    if (projectFolder)
        *projectFolder = folder;
    emit projectsChanged();
    prepareInBackground(folder);
    return true;
}

void ProcessingService::prepareInBackground(const QString& folder)
{
    KeelCore::dispatchAsync(KeelCore::QosBackground, [folder] {
        QJsonObject manifest;
        QString error;
        if (!readManifest(folder, &manifest, &error))
            return;
        QJsonArray photos = manifest.value(QStringLiteral("photos")).toArray();
        int unreadable = 0;
        int withoutGps = 0;
        for (int i = 0; i < photos.size(); ++i) {
            QJsonObject photo = photos.at(i).toObject();
            const QString path = photo.value(QStringLiteral("path")).toString();
            PhotoGpsPosition position;
            QString why;
            if (!QFileInfo(path).isFile() || !QFileInfo(path).isReadable()) {
                ++unreadable;
                photo.insert(QStringLiteral("error"), tr("The photo does not exist or cannot be read."));
            } else if (readPhotoGpsPosition(path, &position, &why)) {
                QJsonObject gps;
                gps.insert(QStringLiteral("longitude"), position.longitude);
                gps.insert(QStringLiteral("latitude"), position.latitude);
                gps.insert(QStringLiteral("altitude"), position.hasAltitude ? QJsonValue(position.altitude) : QJsonValue());
                photo.insert(QStringLiteral("gps"), gps);
            } else {
                ++withoutGps;
            }
            photos[i] = photo;
        }
        manifest.insert(QStringLiteral("photos"), photos);
        if (unreadable > 0) {
            manifest.insert(QStringLiteral("state"), ProcessingService::stateFailed());
            manifest.insert(QStringLiteral("stateDetail"), tr("%n photo(s) cannot be read.", nullptr, unreadable));
        } else {
            manifest.insert(QStringLiteral("state"), ProcessingService::stateReady());
            manifest.insert(QStringLiteral("stateDetail"),
                            withoutGps ? tr("%n photo(s) without GPS position.", nullptr, withoutGps) : QString());
        }
        writeManifest(folder, manifest, &error);
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [] { emit ProcessingService::instance()->projectsChanged(); });
    });
}

ProjectInfo ProcessingService::readProject(const QString& folder)
{
    ProjectInfo info;
    info.folder = folder;
    info.name = QFileInfo(folder).fileName();
    QJsonObject manifest;
    QString error;
    if (!readManifest(folder, &manifest, &error)) {
        info.state = stateFailed();
        info.stateDetail = error;
        info.created = QFileInfo(folder).lastModified();
        return info;
    }
    const QString name = manifest.value(QStringLiteral("name")).toString();
    if (!name.isEmpty())
        info.name = name;
    info.state = manifest.value(QStringLiteral("state")).toString(stateFailed());
    info.stateDetail = manifest.value(QStringLiteral("stateDetail")).toString();
    info.created = QDateTime::fromString(manifest.value(QStringLiteral("created")).toString(), Qt::ISODateWithMs);
    info.photoCount = manifest.value(QStringLiteral("photos")).toArray().size();
    const QJsonObject coordSys = manifest.value(QStringLiteral("coordinateSystem")).toObject();
    info.coordSysId = coordSys.value(QStringLiteral("code")).toString();
    info.coordSysDescription = coordSys.value(QStringLiteral("description")).toString();
    return info;
}

QList<ProjectInfo> ProcessingService::projects() const
{
    QList<ProjectInfo> result;
    const QDir root(projectsDirectory());
    const QStringList folders = root.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& name : folders)
        result << readProject(root.filePath(name));
    std::stable_sort(result.begin(), result.end(),
                     [](const ProjectInfo& a, const ProjectInfo& b) { return a.created > b.created; });
    return result;
}

} // namespace AppCreate
} // namespace Zyn
