#pragma once

#include <gcp/model/GcpInfo.h>

#include <coordsys/GcpCoordSysInfo.h>

#include <QCoreApplication>
#include <QString>

class QWidget;

namespace Zyn {
namespace AppGcp {

// Outcome of a survey-file save or load.
struct SurveyFileResult {
    enum Status { Done = 0, Cancelled = 1, Failed = 2 };
    Status status = Cancelled;
    QString path;  // the file written or read
    QString error; // for Failed: "could not write <path>: <reason>" and the like

    bool ok() const { return status == Done; }
};

struct SurveyLoadResult : SurveyFileResult {
    MarkerMap markers; // keyed by the new records' ids
    GcpList gcps;
    AppCreate::GcpCoordSysInfo coordSys;
};

// The save and load steps behind the GCP table's "Save" and "Load" buttons.
// File dialogs go through the host's FileDialog (and its test seam).
class SurveyFileFlow {
    Q_DECLARE_TR_FUNCTIONS(Zyn::AppGcp::SurveyFileFlow)

public:
    // The name filter of both dialogs: "*." and the host's XML extension.
    static QString fileFilter();

    // The chosen save path with the survey extension: appended when the file
    // name has no suffix, else every occurrence of the differing suffix text
    // in the whole path replaced by it.
    static QString normalizeSavePath(const QString& path, const QString& extension);

    // Folder the dialogs start in: the last folder a survey was loaded from.
    static QString lastDirectory();
    static void setLastDirectory(const QString& directory);

    // Asks for a path and writes the survey there (not in LL84). Cancelled
    // when the user gives no path.
    static SurveyFileResult save(QWidget* parent, const MarkerMap& markersByName, const GcpMap& gcps,
                                 const AppCreate::GcpCoordSysInfo& coordSys);

    // Writes the survey to `path` through a temporary file renamed over the
    // target on success, so a failed write never damages an existing file.
    // With inLL84 (the LL84 export) it fails, writing nothing, when a GCP
    // cannot be converted.
    static SurveyFileResult writeFile(const QString& path, const MarkerMap& markersByName, const GcpMap& gcps,
                                      const AppCreate::GcpCoordSysInfo& coordSys, bool inLL84);

    // Asks for a survey file, remembers its folder and reads it.
    static SurveyLoadResult load(QWidget* parent);

    // Reads the survey at `path`. Failed only when the file cannot be opened.
    static SurveyLoadResult readFile(const QString& path);

    // Tell the user that a save or a load failed (an error task dialog with
    // the reason as detail). Nothing happens for a result that is not Failed.
    static void reportSaveFailure(QWidget* parent, const SurveyFileResult& result);
    static void reportLoadFailure(QWidget* parent, const SurveyFileResult& result);
};

// Free-function spelling of the save-path rule, with the host's extension.
QString normalizeSurveySavePath(const QString& path);

} // namespace AppGcp
} // namespace Zyn
