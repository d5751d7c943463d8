#include "AerialCaptureApp.h"

#include <create/AerialCreateViewController.h>
#include <dashboard/DashboardVC.h>
#include <uibase/BaseView.h>
#include <uibase/QtUiToolkit.h>
#include <uitoolkit/ActionPanelVC.h>
#include <utilities/ResourceStrings.h>

namespace Zyn {
namespace AppCreate {

AerialCaptureApp::AerialCaptureApp(UiBase::CmdsViewController* owner)
    : UiBase::CommandBase(owner, this)
{
    setObjectName(getCommandName());
    setIcon(UiBase::QtUiToolkit::Instance()->getIcon(QStringLiteral("db_drone.png")));
    setText(Resource::String::DASHBOARD_AERIALCAPTURE_TEXT);
    setToolTip(Resource::String::DASHBOARD_AERIALCAPTURE_TOOLTIP);
    setCheckable(false);
    setIsPaidFeature(true);
}

AerialCaptureApp::~AerialCaptureApp() = default;

QString AerialCaptureApp::getCommandName() const
{
    return QString::fromLatin1(metaObject()->className());
}

bool AerialCaptureApp::isToggleCommand() const
{
    return false;
}

QList<UiBase::CommandBase*> AerialCaptureApp::createCommands(UiBase::CmdsViewController* owner)
{
    if (!dynamic_cast<AppDashboard::DashboardVC*>(owner))
        return {};
    return {new AerialCaptureApp(owner)};
}

bool AerialCaptureApp::execute()
{
    auto* dashboard = dynamic_cast<AppDashboard::DashboardVC*>(getViewController());
    if (!dashboard)
        return false;

    // A panel the user kept for later comes back as it was left.
    if (UiBase::BaseViewController* kept = AerialCreateViewController::takeKeptPanel()) {
        dashboard->presentViewController(kept, UiBase::TransitionFromRight);
        return true;
    }
    auto* controller = new AerialCreateViewController;
    auto* panel = new UiToolkit::ActionPanelVC;
    UiBase::BaseView* view = controller->getView();
    view->setParent(dashboard->getQtWidget());
    controller->Initialize();

    panel->setMainView(view);
    panel->setBackButton(false);
    panel->setCrossButton(true);
    panel->setTitle(text());
    dashboard->presentViewController(panel, UiBase::TransitionFromRight);

    if (QObject* state = controller->getState())
        state->setProperty(aerialViewProperty(), true);
    return true;
}

} // namespace AppCreate
} // namespace Zyn
