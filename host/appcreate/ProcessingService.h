#pragma once

#include <QDateTime>
#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

namespace Zyn {
namespace AppCreate {

// What a create view hands over to start a project.
struct ProjectRequest {
    QString name;
    QStringList photos; // absolute paths, in display order
    bool mesh = true;
    bool pointCloud = false;
    bool orthoMap = false;
    float pixelSizeMeters = 0.01f;
    QString coordSysId;     // catalogue code, e.g. "EPSG:32633" or "LL84"
    QString gcpSupportFile; // may be empty or name a file that does not exist
    // Files the application adds to the project folder (name -> content),
    // e.g. the control points in the formats processing engines read.
    QMap<QString, QByteArray> files;
    // Names of the control points and the checkpoints, for the manifest.
    QStringList controlPoints;
    QStringList checkpoints;
};

// A project as listed on the dashboard.
struct ProjectInfo {
    QString name;
    QString folder;
    QString state; // "Queued", "Ready", "Failed"
    QString stateDetail;
    QDateTime created;
    int photoCount = 0;
    QString coordSysId;
    QString coordSysDescription; // empty for systems written without one
};

// The embedded processing service: every project is a self-contained
// folder <projects dir>/<name> with a manifest (project.json). Submitting
// writes the manifest with state "Queued"; a background job then reads the
// photos' GPS positions into it and marks it "Ready" (or "Failed" when a
// photo cannot be read). Nothing that exists is ever overwritten.
class ProcessingService : public QObject {
    Q_OBJECT
public:
    static ProcessingService* instance();

    // <Documents>/ZynPhoto Projects; ZYN_PROJECTS_DIR overrides it.
    static QString projectsDirectory();
    static QString manifestFileName() { return QStringLiteral("project.json"); }
    static QString stateQueued() { return QStringLiteral("Queued"); }
    static QString stateReady() { return QStringLiteral("Ready"); }
    static QString stateFailed() { return QStringLiteral("Failed"); }

    // Whether name can be a project folder name at all (not empty, no path
    // separators, not "." or "..", at most 255 bytes).
    static constexpr int MaxProjectNameLength = 64;
    static bool isValidProjectName(const QString& name, QString* error = nullptr);
    // The one wording of "that name is taken", wherever it is found out.
    static QString projectExistsText(const QString& name);
    bool projectExists(const QString& name) const;

    // Writes the project; answers false with a user-readable error when the
    // name is invalid or taken, or the folder cannot be written. On
    // success projectFolder receives the new folder.
    bool submitProject(const ProjectRequest& request, QString* projectFolder, QString* error);

    // Projects in the projects folder, newest first. Folders without a
    // readable manifest are listed as "Failed" with the reason.
    QList<ProjectInfo> projects() const;

    // Reads the state of one project (from its manifest).
    static ProjectInfo readProject(const QString& folder);

signals:
    void projectsChanged();

private:
    explicit ProcessingService(QObject* parent = nullptr);
    void prepareInBackground(const QString& folder);
};

} // namespace AppCreate
} // namespace Zyn
