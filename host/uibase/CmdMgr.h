#pragma once

#include <keelcore/Broadcaster.h>

#include <QList>
#include <QPointer>
#include <QString>

namespace Zyn {
namespace UiBase {

class CommandBase;
class CmdMgr;

// Told when the manager's command list changes.
class CmdMgrProtocol {
public:
    virtual ~CmdMgrProtocol() = default;
    virtual void onCommandsChanged(CmdMgr* manager) { (void)manager; }
};

// The commands of a view, in the order they were added. Groups are kept
// as one entry; findCommand looks inside them.
class CmdMgr : public KeelCore::Delegator<CmdMgrProtocol> {
public:
    CmdMgr();
    ~CmdMgr() override;

    // Answers false for nullptr or a command already present. The manager
    // does not take ownership: commands are QObjects owned by their parent.
    bool addCommand(CommandBase* command);
    bool removeCommand(CommandBase* command);
    QList<CommandBase*> commands() const;
    // Every command, with groups replaced by their members.
    QList<CommandBase*> flattenedCommands() const;
    CommandBase* findCommand(const QString& commandName) const;

protected:
    void notifyCommandsChanged();

private:
    QList<QPointer<CommandBase>> m_commands;
};

} // namespace UiBase
} // namespace Zyn
