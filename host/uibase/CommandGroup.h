#pragma once

#include <uibase/CommandBase.h>

#include <QList>

namespace Zyn {
namespace UiBase {

// An ordered set of commands shown together (a toolbar section). Members
// are kept by position, then by the order they were added.
class CommandGroup : public CommandBase {
    Q_OBJECT
public:
    enum EPosition {
        PositionLeading = 0,
        PositionMain = 1,
        PositionSecondary = 2,
        PositionTrailing = 3,
    };

    explicit CommandGroup(CmdsViewController* owner, const QString& name = QString());
    ~CommandGroup() override;

    QString getCommandName() const override;

    // Takes ownership of command; answers it (nullptr for nullptr or a
    // command already in the group).
    CommandBase* addCommand(CommandBase* command, int position);
    // Removes (without deleting) a command; answers whether it was there.
    bool removeCommand(CommandBase* command);

    // Members in display order.
    QList<CommandBase*> commands() const;
    int positionOf(CommandBase* command) const;

    bool hasCommand(const QString& commandName) const override;

    // A group does nothing by itself.
    bool execute() override;

signals:
    void commandsChanged();

private:
    struct Entry {
        QPointer<CommandBase> command;
        int position;
    };
    QList<Entry> m_entries;
    QString m_name;
};

} // namespace UiBase
} // namespace Zyn
