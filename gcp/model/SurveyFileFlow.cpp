#include "SurveyFileFlow.h"

#include <gcp/model/SurveyData.h>

#include <gis/Gis.h>
#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <uibase/FileDialog.h>
#include <uibase/TaskDialog.h>
#include <utilities/Constants.h>
#include <utilities/ResourceStrings.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace Zyn {
namespace AppGcp {

namespace {
Services::ConfigManager* config()
{
    return Services::ApplicationService::GetInstance()->GetConfigManager();
}
} // namespace

QString SurveyFileFlow::fileFilter()
{
    return QStringLiteral("*.") + QString(Resource::String::FILE_EXTENSION_XML);
}

QString SurveyFileFlow::normalizeSavePath(const QString& path, const QString& extension)
{
    const QFileInfo info(path);
    const QString suffix = info.completeSuffix();
    if (suffix.isEmpty()) {
        // "points." already carries its dot.
        return path.endsWith(QLatin1Char('.')) ? path + extension : path + QLatin1Char('.') + extension;
    }
    if (suffix == extension)
        return path;
    // Whole-path text replacement on purpose: a folder named like the
    // suffix is renamed too, exactly as the survey tools before us did.
    QString normalized = path;
    normalized.replace(suffix, extension, Qt::CaseSensitive);
    return normalized;
}

QString normalizeSurveySavePath(const QString& path)
{
    return SurveyFileFlow::normalizeSavePath(path, Resource::String::FILE_EXTENSION_XML);
}

QString SurveyFileFlow::lastDirectory()
{
    return config()->getString(QString::fromLatin1(Utilities::CFG_ELEM_GCP_LAST_DIRECTORY));
}

void SurveyFileFlow::setLastDirectory(const QString& directory)
{
    config()->setValue(QString::fromLatin1(Utilities::CFG_ELEM_GCP_LAST_DIRECTORY), directory);
}

SurveyFileResult SurveyFileFlow::save(QWidget* parent, const MarkerMap& markersByName, const GcpMap& gcps,
                                      const AppCreate::GcpCoordSysInfo& coordSys)
{
    const QString chosen =
        UiBase::FileDialog::getSaveFileName(parent, tr("Save File As"), lastDirectory(), fileFilter());
    if (chosen.isEmpty())
        return SurveyFileResult{};
    return writeFile(normalizeSurveySavePath(chosen), markersByName, gcps, coordSys, false);
}

SurveyFileResult SurveyFileFlow::writeFile(const QString& path, const MarkerMap& markersByName, const GcpMap& gcps,
                                           const AppCreate::GcpCoordSysInfo& coordSys, bool inLL84)
{
    SurveyFileResult result;
    result.path = path;
    const auto fail = [&](const QString& reason) {
        result.status = SurveyFileResult::Failed;
        result.error = tr("could not write %1: %2").arg(QDir::toNativeSeparators(path), reason);
        return result;
    };

    // The writer leaves coordinates it cannot convert as they are; a file
    // named LL84 holding projected values would be worse than none.
    if (inLL84) {
        for (const GcpInfo& gcp : gcps) {
            double x = gcp.coord1;
            double y = gcp.coord2;
            double z = gcp.coord3;
            if (!Tarn::GIS::transformCoordToLL84(coordSys.code, x, y, z))
                return fail(tr("the coordinates of \"%1\" cannot be converted from %2 to LL84")
                                .arg(gcp.name, coordSys.code));
        }
    }

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fail(file.errorString());
    writeSurveyData(&file, markersByName, gcps, coordSys, inLL84);
    if (file.error() != QFileDevice::NoError) {
        const QString reason = file.errorString();
        file.cancelWriting();
        return fail(reason);
    }
    if (!file.commit())
        return fail(file.errorString());
    result.status = SurveyFileResult::Done;
    return result;
}

SurveyLoadResult SurveyFileFlow::load(QWidget* parent)
{
    const QString chosen = UiBase::FileDialog::getOpenFileName(
        parent, Resource::String::OPEN_FILE_DIALOG_TITLE, lastDirectory(),
        fileFilter() + QStringLiteral(";;*.txt"));
    if (chosen.isEmpty())
        return SurveyLoadResult{};
    setLastDirectory(QFileInfo(chosen).absolutePath());
    return readFile(chosen);
}

SurveyLoadResult SurveyFileFlow::readFile(const QString& path)
{
    SurveyLoadResult result;
    result.path = path;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        result.status = SurveyFileResult::Failed;
        result.error = tr("could not read %1: %2").arg(QDir::toNativeSeparators(path), file.errorString());
        return result;
    }
    readSurveyData(&file, result.markers, result.gcps, result.coordSys);
    result.status = SurveyFileResult::Done;
    return result;
}

void SurveyFileFlow::reportSaveFailure(QWidget* parent, const SurveyFileResult& result)
{
    if (result.status == SurveyFileResult::Failed)
        UiBase::TaskDialog::showErrorMessage(parent, tr("The survey file could not be saved."), result.error);
}

void SurveyFileFlow::reportLoadFailure(QWidget* parent, const SurveyFileResult& result)
{
    if (result.status == SurveyFileResult::Failed)
        UiBase::TaskDialog::showErrorMessage(parent, tr("The survey file could not be loaded."), result.error);
}

} // namespace AppGcp
} // namespace Zyn
