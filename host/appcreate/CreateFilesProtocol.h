#pragma once

#include <QStringList>

namespace Zyn {
namespace AppCreate {

// Observers of a create view's file list.
class CreateFilesProtocol {
public:
    virtual ~CreateFilesProtocol() = default;
    // files: every photo now in the view, in display order.
    virtual void onFilesChanged(const QStringList& files) = 0;
};

} // namespace AppCreate
} // namespace Zyn
