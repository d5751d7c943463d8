#pragma once

#include <QMetaType>
#include <QString>

namespace Zyn {
namespace AppCreate {

// A file of a create view: a local photo or a file in the cloud.
struct SCloudFile {
    QString path; // absolute local path, or the cloud id of a remote file
    QString name; // display name
    qint64 size = 0;
    bool isLocal = true;

    static SCloudFile fromLocalPath(const QString& path);
};

} // namespace AppCreate
} // namespace Zyn

Q_DECLARE_METATYPE(Zyn::AppCreate::SCloudFile)
