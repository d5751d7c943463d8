#pragma once

#include <services/CloudServiceProtocol.h>
#include <services/EntitlementChangedProtocol.h>
#include <uibase/CommandBase.h>
#include <uibase/IApp.h>

#include <QList>
#include <QObject>
#include <QString>

namespace Zyn {
namespace UiBase {
class CmdsViewController;
}

namespace AppCreate {

// The plug-in object: the application the host loads and, for the
// dashboard, the paid command that opens the aerial create view.
class AerialCaptureApp : public UiBase::CommandBase,
                         public Services::CloudServiceProtocol,
                         public Services::EntitlementChangedProtocol,
                         public UiBase::IApp {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZYN_IAPP_IID)
    Q_INTERFACES(Zyn::UiBase::IApp)

public:
    // The plug-in entry creates it without an owner; dashboard commands
    // are made by createCommands.
    explicit AerialCaptureApp(UiBase::CmdsViewController* owner = nullptr);
    ~AerialCaptureApp() override;

    QString getCommandName() const override;
    bool isToggleCommand() const override;

    QList<UiBase::CommandBase*> createCommands(UiBase::CmdsViewController* owner) override;

    // Property set on the create view's state so host code can tell an
    // aerial create view from others.
    static const char* aerialViewProperty() { return "isAerialCaptureView"; }

public slots:
    bool execute() override;
};

} // namespace AppCreate
} // namespace Zyn
