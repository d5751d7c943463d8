#pragma once

#include <uibase/CmdsViewController.h>
#include <uibase/PresentViewProtocol.h>

#include <QList>
#include <QPointer>
#include <QStringList>

class QLabel;
class QTreeWidget;
class QWidget;
class QGridLayout;

namespace Zyn {
namespace UiBase {
class IApp;
class CommandBase;
} // namespace UiBase

namespace AppDashboard {

// The host's start view: a tile for every command the loaded applications
// contribute (paid ones marked), the list of projects with their state,
// and notices about plug-ins that could not be loaded. Panels are
// presented over it.
class DashboardVC : public UiBase::CmdsViewController, public UiBase::PresentViewProtocol {
    Q_OBJECT
public:
    explicit DashboardVC(QObject* parent = nullptr);
    ~DashboardVC() override;

    // Asks the application for its commands (createCommands(this)) and
    // shows them; the dashboard owns them. Answers how many were added.
    int addApp(UiBase::IApp* app);
    int appCount() const { return m_apps.size(); }

    // A visible notice, e.g. a plug-in that failed to load.
    void addNotice(const QString& message);
    QStringList notices() const { return m_notices; }

    // The command shown on each tile, in display order.
    QList<UiBase::CommandBase*> tileCommands() const;

    void refreshProjects();

    // Also makes the dashboard the presenter of what a panel's main view
    // presents (its PresentViewProtocol delegate).
    void presentViewController(UiBase::BaseViewController* controller, int direction) override;

    void presentView(UiBase::BaseViewController* controller, int direction) override;
    void dismissView(UiBase::BaseViewController* controller) override;

protected:
    UiBase::BaseView* loadView() override;

private:
    void rebuildTiles();

    QList<UiBase::IApp*> m_apps;
    QStringList m_notices;
    QPointer<QWidget> m_tilesArea;
    QPointer<QGridLayout> m_tilesLayout;
    QPointer<QLabel> m_emptyLabel;
    QPointer<QLabel> m_noticeLabel;
    QPointer<QTreeWidget> m_projects;
    QPointer<QLabel> m_noProjectsLabel;
    QPointer<QWidget> m_bottomStretch;
};

} // namespace AppDashboard
} // namespace Zyn
