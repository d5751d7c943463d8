#include "PhotoSceneData.h"

#include "ProcessingService.h"

#include <QDir>

namespace Zyn {
namespace AppCreate {

PhotoSceneData::PhotoSceneData()
    : m_id(QUuid::createUuid())
{
}

QString PhotoSceneData::getSceneId() const
{
    return m_id.toString(QUuid::WithoutBraces);
}

QString PhotoSceneData::getSupportDirectory() const
{
    return QDir(ProcessingService::projectsDirectory()).filePath(QStringLiteral(".support/") + getSceneId());
}

QString PhotoSceneData::getSupportFilePath(const QString& fileName) const
{
    // The folder is made by whoever first writes there.
    return QDir(getSupportDirectory()).filePath(fileName);
}

} // namespace AppCreate
} // namespace Zyn
