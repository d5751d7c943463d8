#include "CommandBase.h"

#include "CmdsViewController.h"

namespace Zyn {
namespace UiBase {

CommandBase::CommandBase(CmdsViewController* owner, IApp* app)
    : QAction(owner)
    , m_owner(owner)
    , m_app(app)
{
    connect(this, &QAction::triggered, this, &CommandBase::onTriggered);
    // QAction::changed covers enabled, visible, checked and text changes.
    connect(this, &QAction::changed, this, &CommandBase::broadcastState);
}

CommandBase::~CommandBase() = default;

CmdsViewController* CommandBase::getViewController() const
{
    return m_owner.data();
}

QString CommandBase::getCommandName() const
{
    return QString::fromLatin1(metaObject()->className());
}

void CommandBase::setIsPaidFeature(bool paid)
{
    if (m_paid == paid)
        return;
    m_paid = paid;
    broadcastState();
}

void CommandBase::setExecutionNotificationMessage(const QString& message)
{
    m_notification = message;
}

bool CommandBase::isToggleCommand() const
{
    return isCheckable();
}

bool CommandBase::hasCommand(const QString& commandName) const
{
    return !commandName.isEmpty() && getCommandName() == commandName;
}

void CommandBase::setAddedToCmdsVC(bool added)
{
    m_addedToCmdsVC = added;
}

void CommandBase::setCommandState(const CommandState& state)
{
    m_state = state;
    if (!m_state.states.isEmpty()) {
        const int i = qBound(0, m_state.current, m_state.states.size() - 1);
        setEnabled(m_state.states.at(i).enabled);
        setVisible(m_state.states.at(i).visible);
    }
    broadcastState();
}

bool CommandBase::execute()
{
    return false;
}

void CommandBase::onTriggered()
{
    if (!isEnabled())
        return;
    const bool ok = execute();
    emit executed(ok);
}

void CommandBase::broadcastState()
{
    broadcast([this](CommandStateProtocol* observer) { observer->onCommandStateChanged(this); });
}

} // namespace UiBase
} // namespace Zyn
