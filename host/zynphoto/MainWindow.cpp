#include "MainWindow.h"

#include "PluginManager.h"

#include <dashboard/DashboardVC.h>
#include <uibase/BaseView.h>
#include <uibase/QtUiToolkit.h>

#include <QCloseEvent>
#include <QSettings>

namespace Zyn {
namespace Host {

namespace {
const char kGeometryKey[] = "MainWindow/geometry";
}

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
    , m_dashboard(new AppDashboard::DashboardVC(this))
{
    setObjectName(QStringLiteral("zynphoto_main_window"));
    setWindowTitle(tr("ZynPhoto"));
    setWindowIcon(UiBase::QtUiToolkit::Instance()->getIcon(QStringLiteral("zynphoto.png")));
    UiBase::BaseView* view = m_dashboard->getView();
    // The window owns the dashboard; its view is a part of the window.
    view->setAttribute(Qt::WA_DeleteOnClose, false);
    setCentralWidget(view);
    resize(1280, 800);
    // Where the user left it; a damaged value keeps the default size.
    restoreGeometry(QSettings().value(QLatin1String(kGeometryKey)).toByteArray());
}

MainWindow::~MainWindow() = default;

void MainWindow::showPlugins(const PluginManager& plugins)
{
    for (UiBase::IApp* app : plugins.apps())
        m_dashboard->addApp(app);
    for (const QString& error : plugins.errors())
        m_dashboard->addNotice(error);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    // Panels still open are told they disappear before the window goes.
    while (m_dashboard && m_dashboard->presentedViewController())
        m_dashboard->dismissViewController();
    QSettings().setValue(QLatin1String(kGeometryKey), saveGeometry());
    QMainWindow::closeEvent(event);
}

} // namespace Host
} // namespace Zyn
