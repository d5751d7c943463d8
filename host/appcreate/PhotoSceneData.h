#pragma once

#include <QString>
#include <QUuid>

namespace Zyn {
namespace AppCreate {

// Data of one project being created, before it exists: its own folder
// for support files (e.g. the GCP survey), <projects dir>/.support/<uuid>.
class PhotoSceneData {
public:
    PhotoSceneData();

    QString getSceneId() const;
    QString getSupportDirectory() const;
    // Path of a support file of this scene; the folder is not created here.
    QString getSupportFilePath(const QString& fileName) const;

private:
    QUuid m_id;
};

} // namespace AppCreate
} // namespace Zyn
