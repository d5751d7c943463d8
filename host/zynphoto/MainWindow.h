#pragma once

#include <dashboard/DashboardVC.h>

#include <QMainWindow>
#include <QPointer>

namespace Zyn {

namespace Host {

class PluginManager;

// The host's window: the dashboard fills it; panels are presented over it.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    // Shows the applications the manager loaded, and notices for those it
    // could not load.
    void showPlugins(const PluginManager& plugins);

    AppDashboard::DashboardVC* dashboard() const { return m_dashboard; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QPointer<AppDashboard::DashboardVC> m_dashboard;
};

} // namespace Host
} // namespace Zyn
