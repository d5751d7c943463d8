#include "CmdsViewController.h"

#include "CommandGroup.h"

namespace Zyn {
namespace UiBase {

CmdsViewController::CmdsViewController(QObject* parent)
    : BaseViewController(parent)
{
    setDelegate(this);
}

CmdsViewController::~CmdsViewController() = default;

void CmdsViewController::onCommandsChanged(CmdMgr* manager)
{
    Q_UNUSED(manager);
    // A group's own additions change what the view shows too.
    for (CommandBase* c : commands()) {
        if (auto* group = qobject_cast<CommandGroup*>(c))
            connect(group, &CommandGroup::commandsChanged, this, &CmdsViewController::commandsChanged,
                    Qt::UniqueConnection);
        connect(c, &QObject::destroyed, this, &CmdsViewController::commandsChanged, Qt::UniqueConnection);
    }
    emit commandsChanged();
}

} // namespace UiBase
} // namespace Zyn
