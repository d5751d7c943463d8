#include "CommandGroup.h"

#include <algorithm>

namespace Zyn {
namespace UiBase {

CommandGroup::CommandGroup(CmdsViewController* owner, const QString& name)
    : CommandBase(owner)
    , m_name(name)
{
    setText(name);
}

CommandGroup::~CommandGroup() = default;

QString CommandGroup::getCommandName() const
{
    return m_name.isEmpty() ? CommandBase::getCommandName() : m_name;
}

CommandBase* CommandGroup::addCommand(CommandBase* command, int position)
{
    if (!command || command == this || positionOf(command) >= 0)
        return nullptr;
    command->setParent(this);
    // Stable: a command goes after every member of its position or before.
    auto it = std::find_if(m_entries.begin(), m_entries.end(),
                           [position](const Entry& e) { return e.position > position; });
    m_entries.insert(it, Entry{command, position});
    connect(command, &QObject::destroyed, this, &CommandGroup::commandsChanged);
    emit commandsChanged();
    return command;
}

bool CommandGroup::removeCommand(CommandBase* command)
{
    for (int i = 0; i < m_entries.size(); ++i) {
        if (m_entries.at(i).command == command) {
            m_entries.removeAt(i);
            if (command && command->parent() == this)
                command->setParent(nullptr);
            disconnect(command, nullptr, this, nullptr);
            emit commandsChanged();
            return true;
        }
    }
    return false;
}

QList<CommandBase*> CommandGroup::commands() const
{
    QList<CommandBase*> result;
    for (const Entry& e : m_entries) {
        if (e.command)
            result << e.command.data();
    }
    return result;
}

int CommandGroup::positionOf(CommandBase* command) const
{
    for (const Entry& e : m_entries) {
        if (e.command && e.command == command)
            return e.position;
    }
    return -1;
}

bool CommandGroup::hasCommand(const QString& commandName) const
{
    if (CommandBase::hasCommand(commandName))
        return true;
    const auto members = commands();
    return std::any_of(members.begin(), members.end(),
                       [&commandName](CommandBase* c) { return c->hasCommand(commandName); });
}

bool CommandGroup::execute()
{
    return false;
}

} // namespace UiBase
} // namespace Zyn
