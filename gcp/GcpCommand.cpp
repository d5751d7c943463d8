#include "GcpCommand.h"

#include "GcpEditor.h"
#include "GcpViewController.h"

#include <appcreate/CreateViewController.h>
#include <uibase/BaseView.h>
#include <uibase/QtUiToolkit.h>
#include <uitoolkit/ActionPanelVC.h>
#include <utilities/ResourceStrings.h>

namespace Zyn {
namespace AppGcp {

GcpCommand::GcpCommand(UiBase::CmdsViewController* owner)
    : CommandBase(owner)
{
    setObjectName(Resource::String::GCP_COMMAND_TEXT);
    setText(Resource::String::GCP_COMMAND_TEXT);
    setToolTip(Resource::String::GCP_COMMAND_TOOLTIP);
    setIcon(UiBase::QtUiToolkit::Instance()->getIcon(QStringLiteral("ap_gcp")));
    setCheckable(false);

    // Parented to the command, so the panel and its points live as long as
    // the create view that owns the command.
    m_panel = new UiToolkit::ActionPanelVC(new GcpViewController, this);
    m_panel->setTitle(Resource::String::GCP_COMMAND_TEXT);
    m_view = m_panel->getView();
    m_view->setAutoFillBackground(true);

    // Two states, both running execute(); disabled until there are photos.
    UiBase::CommandState state;
    state.states = {UiBase::CommandState::State{}, UiBase::CommandState::State{}};
    for (UiBase::CommandState::State& s : state.states)
        s.enabled = false;
    setCommandState(state);
}

GcpCommand::~GcpCommand()
{
    // A panel still presented belongs to the presenter's view; make sure it
    // goes with us rather than outliving its controller.
    if (m_view)
        delete m_view.data();
}

GcpViewController* GcpCommand::gcpViewController() const
{
    return m_panel ? qobject_cast<GcpViewController*>(m_panel->getMainViewController()) : nullptr;
}

void GcpCommand::onFilesChanged(const QStringList& files)
{
    UiBase::CommandState state = getCommandState();
    for (UiBase::CommandState::State& s : state.states)
        s.enabled = !files.isEmpty();
    setCommandState(state);
}

bool GcpCommand::execute()
{
    auto* create = qobject_cast<AppCreate::CreateViewController*>(getViewController());
    GcpViewController* controller = gcpViewController();
    if (!create || !controller || !m_view) {
        emit executed(false);
        return false;
    }
    QPointer<GcpEditor> editor = controller->getGcpEditor();
    if (editor) {
        editor->setFiles(create->getLocalFilesToUpload());
        editor->setThumbnailData(create->getThumbnailData());
        editor->setSupportFilePath(m_supportFilePath);
    }
    m_view->setAttribute(Qt::WA_DeleteOnClose, false);
    create->presentViewController(m_panel, UiBase::TransitionFromRight);
    emit executed(true);
    return true;
}

} // namespace AppGcp
} // namespace Zyn
