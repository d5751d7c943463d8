#include "SCloudFile.h"

#include <QFileInfo>

namespace Zyn {
namespace AppCreate {

SCloudFile SCloudFile::fromLocalPath(const QString& path)
{
    const QFileInfo info(path);
    SCloudFile file;
    file.path = info.absoluteFilePath();
    file.name = info.fileName();
    file.size = info.exists() ? info.size() : 0;
    file.isLocal = true;
    return file;
}

} // namespace AppCreate
} // namespace Zyn
