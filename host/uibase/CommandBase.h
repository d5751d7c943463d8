#pragma once

#include <keelcore/Broadcaster.h>
#include <keelcore/SharedObject.h>

#include <QAction>
#include <QList>
#include <QPointer>
#include <QString>

namespace Zyn {
namespace UiBase {

class CmdsViewController;
class CommandBase;
class IApp;

// Observers of a command's state (enabled, visible, checked, text).
class CommandStateProtocol {
public:
    virtual ~CommandStateProtocol() = default;
    virtual void onCommandStateChanged(CommandBase* command) { (void)command; }
};

// The states a command can show; `action` identifies what triggering does
// in that state (0 = the command's own execute()).
struct CommandState {
    struct State {
        int action = 0;
        bool enabled = true;
        bool visible = true;
    };
    QList<State> states;
    int current = 0;
};

// A host command: a QAction whose trigger runs execute(). Views show
// commands as tiles or toolbar buttons.
class CommandBase : public QAction,
                    public KeelCore::SharedObject<CommandBase>,
                    public KeelCore::Broadcaster<CommandStateProtocol> {
    Q_OBJECT
public:
    explicit CommandBase(CmdsViewController* owner, IApp* app = nullptr);
    ~CommandBase() override;

    // The view controller the command belongs to (may be nullptr).
    CmdsViewController* getViewController() const;
    IApp* getApp() const { return m_app; }

    // Name used to find the command; the class name by default.
    virtual QString getCommandName() const;

    // Paid commands are marked as such wherever they are shown.
    void setIsPaidFeature(bool paid);
    bool isPaidFeature() const { return m_paid; }

    // Text shown in the status line after the command ran.
    virtual void setExecutionNotificationMessage(const QString& message);
    QString executionNotificationMessage() const { return m_notification; }

    // Toggle commands stay checked while their tool is active.
    virtual bool isToggleCommand() const;

    // True when this command (or, for groups, one of its members) is named
    // commandName.
    virtual bool hasCommand(const QString& commandName) const;

    // Set by the command view that shows the command.
    virtual void setAddedToCmdsVC(bool added);
    bool isAddedToCmdsVC() const { return m_addedToCmdsVC; }

    void setCommandState(const CommandState& state);
    CommandState getCommandState() const { return m_state; }

public slots:
    // What triggering does. Answers whether the command ran.
    virtual bool execute();
    // Connected to triggered(): runs execute().
    virtual void onTriggered();

signals:
    void executed(bool ok);

private:
    void broadcastState();

    QPointer<CmdsViewController> m_owner;
    IApp* m_app = nullptr;
    bool m_paid = false;
    bool m_addedToCmdsVC = false;
    QString m_notification;
    CommandState m_state;
};

} // namespace UiBase
} // namespace Zyn
