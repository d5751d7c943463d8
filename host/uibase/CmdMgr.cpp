#include "CmdMgr.h"

#include "CommandBase.h"
#include "CommandGroup.h"

namespace Zyn {
namespace UiBase {

CmdMgr::CmdMgr() = default;
CmdMgr::~CmdMgr() = default;

bool CmdMgr::addCommand(CommandBase* command)
{
    if (!command)
        return false;
    for (const auto& c : m_commands) {
        if (c == command)
            return false;
    }
    m_commands << QPointer<CommandBase>(command);
    command->setAddedToCmdsVC(true);
    notifyCommandsChanged();
    return true;
}

bool CmdMgr::removeCommand(CommandBase* command)
{
    for (int i = 0; i < m_commands.size(); ++i) {
        if (m_commands.at(i) == command) {
            m_commands.removeAt(i);
            if (command)
                command->setAddedToCmdsVC(false);
            notifyCommandsChanged();
            return true;
        }
    }
    return false;
}

QList<CommandBase*> CmdMgr::commands() const
{
    QList<CommandBase*> result;
    for (const auto& c : m_commands) {
        if (c)
            result << c.data();
    }
    return result;
}

QList<CommandBase*> CmdMgr::flattenedCommands() const
{
    QList<CommandBase*> result;
    for (CommandBase* c : commands()) {
        if (auto* group = qobject_cast<CommandGroup*>(c))
            result << group->commands();
        else
            result << c;
    }
    return result;
}

CommandBase* CmdMgr::findCommand(const QString& commandName) const
{
    for (CommandBase* c : flattenedCommands()) {
        if (c->hasCommand(commandName))
            return c;
    }
    for (CommandBase* c : commands()) {
        if (c->getCommandName() == commandName)
            return c;
    }
    return nullptr;
}

void CmdMgr::notifyCommandsChanged()
{
    callDelegate([this](CmdMgrProtocol* d) { d->onCommandsChanged(this); });
}

} // namespace UiBase
} // namespace Zyn
