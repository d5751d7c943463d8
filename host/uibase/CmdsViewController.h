#pragma once

#include <uibase/BaseViewController.h>
#include <uibase/CmdMgr.h>

namespace Zyn {
namespace UiBase {

class CommandBase;

// A view controller with commands. Its command manager is the controller
// itself; commandsChanged() runs whenever the list (or a group in it)
// changes, so views can rebuild their tiles or toolbars.
class CmdsViewController : public BaseViewController, public CmdMgr, public CmdMgrProtocol {
    Q_OBJECT
public:
    explicit CmdsViewController(QObject* parent = nullptr);
    ~CmdsViewController() override;

    CmdMgr* getCmdMgr() { return this; }

    void onCommandsChanged(CmdMgr* manager) override;

signals:
    void commandsChanged();
};

} // namespace UiBase
} // namespace Zyn
