// A small application plug-in: one dashboard command, which presents a
// panel on the dashboard.
#include <dashboard/DashboardVC.h>
#include <uibase/CommandBase.h>
#include <uibase/IApp.h>
#include <uitoolkit/ActionPanelVC.h>

#include <QObject>

namespace {

class GoodCommand : public Zyn::UiBase::CommandBase {
    Q_OBJECT
public:
    explicit GoodCommand(Zyn::UiBase::CmdsViewController* owner) : CommandBase(owner) { setText("Good"); }
    bool execute() override
    {
        auto* dashboard = dynamic_cast<Zyn::AppDashboard::DashboardVC*>(getViewController());
        if (!dashboard)
            return false;
        auto* panel = new Zyn::UiToolkit::ActionPanelVC(new Zyn::UiBase::BaseViewController);
        dashboard->presentViewController(panel, Zyn::UiBase::TransitionFromRight);
        return true;
    }
};

} // namespace

class TestGoodApp : public QObject, public Zyn::UiBase::IApp {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZYN_IAPP_IID)
    Q_INTERFACES(Zyn::UiBase::IApp)
public:
    void initialize() override { setProperty("initializeCalls", property("initializeCalls").toInt() + 1); }

    QList<Zyn::UiBase::CommandBase*> createCommands(Zyn::UiBase::CmdsViewController* owner) override
    {
        if (!dynamic_cast<Zyn::AppDashboard::DashboardVC*>(owner))
            return {};
        return {new GoodCommand(owner)};
    }
};

#include "GoodApp.moc"
