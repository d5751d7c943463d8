#pragma once

#include <appcreate/CreateFilesProtocol.h>
#include <uibase/BaseView.h>
#include <uibase/CommandBase.h>
#include <uitoolkit/ActionPanelVC.h>

#include <QPointer>
#include <QString>

namespace Zyn {
namespace AppGcp {

class GcpViewController;

// The create view's "Survey Points" command: enabled while the view has
// photos; opens the GCP editor with them. The editor's panel is made once
// and kept, so the points entered survive closing it.
class GcpCommand : public UiBase::CommandBase, public AppCreate::CreateFilesProtocol {
    Q_OBJECT
public:
    explicit GcpCommand(UiBase::CmdsViewController* owner);
    ~GcpCommand() override;

    void onFilesChanged(const QStringList& files) override;
    bool execute() override;

    void setSupportFilePath(const QString& path) { m_supportFilePath = path; }
    QString supportFilePath() const { return m_supportFilePath; }
    GcpViewController* gcpViewController() const;
    UiToolkit::ActionPanelVC* panel() const { return m_panel; }

private:
    QPointer<UiToolkit::ActionPanelVC> m_panel;
    QPointer<UiBase::BaseView> m_view;
    QString m_supportFilePath;
};

} // namespace AppGcp
} // namespace Zyn
