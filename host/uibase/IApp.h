#pragma once

#include <uibase/IService.h>

#include <QList>
#include <QObject>
#include <QtPlugin>

// Interface id an application plug-in names in Q_PLUGIN_METADATA(IID ...).
// The host refuses a plug-in whose metadata carries another id.
#define ZYN_IAPP_IID "org.zynphoto.UiBase.IApp/1.0"

namespace Zyn {
namespace UiBase {

class CommandBase;
class CmdsViewController;

// An application: a plug-in that contributes commands to the host's views.
class IApp : public Tarn::Core::IService {
public:
    ~IApp() override = default;

    // The object that receives application-level requests; nullptr when
    // the application has none.
    virtual QObject* getAppDelegate() { return nullptr; }

    // Called once after the host has loaded the plug-in.
    virtual void initialize() {}

    // The commands this application adds to `owner` (the dashboard, or
    // another command view). The caller owns the returned commands.
    virtual QList<CommandBase*> createCommands(CmdsViewController* owner) = 0;
};

} // namespace UiBase
} // namespace Zyn

Q_DECLARE_INTERFACE(Zyn::UiBase::IApp, "Zyn.UiBase.IApp/1.0")
