#include "DashboardVC.h"

#include <appcreate/ProcessingService.h>
#include <keelcore/Broadcaster.h>
#include <services/EntitlementService.h>
#include <uibase/BaseView.h>
#include <uibase/CommandBase.h>
#include <uibase/IApp.h>
#include <uibase/QtUiToolkit.h>
#include <uitoolkit/ActionPanelVC.h>

#include <QDesktopServices>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QScrollArea>
#include <QToolButton>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

namespace Zyn {
namespace AppDashboard {

using UiBase::CommandBase;

DashboardVC::DashboardVC(QObject* parent)
    : CmdsViewController(parent)
{
    connect(this, &UiBase::CmdsViewController::commandsChanged, this, &DashboardVC::rebuildTiles);
    connect(AppCreate::ProcessingService::instance(), &AppCreate::ProcessingService::projectsChanged, this,
            &DashboardVC::refreshProjects);
}

DashboardVC::~DashboardVC() = default;

UiBase::BaseView* DashboardVC::loadView()
{
    auto* view = new UiBase::BaseView;
    view->setObjectName(QStringLiteral("dashboard"));
    view->setAutoFillBackground(true);

    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("dashboard_content"));
    content->setStyleSheet(QStringLiteral(
        "#dashboard_content { background: #FFFFFF; }"
        "QLabel#dashboard_title { color: #2F4F6F; font-size: 22px; font-weight: bold; }"
        "QLabel#section_label { color: #5383B5; font-size: 15px; font-weight: bold; }"
        "QLabel#plugin_notice_label { background: #FFF4E0; border: 1px solid #F0A020; padding: 8px; color: #6A4000; }"
        "QLabel#empty_state_label, QLabel#no_projects_label { color: #808080; padding: 16px; }"
        "QToolButton[tile=\"true\"] { border: 1px solid #D8DDE3; border-radius: 6px; background: #F7F9FB; "
        "padding: 8px; min-width: 140px; min-height: 120px; }"
        "QToolButton[tile=\"true\"]:hover { background: #E8F0F8; border-color: #5383B5; }"));
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(24, 20, 24, 20);
    layout->setSpacing(12);

    auto* title = new QLabel(tr("ZynPhoto"));
    title->setObjectName(QStringLiteral("dashboard_title"));
    layout->addWidget(title);

    m_noticeLabel = new QLabel;
    m_noticeLabel->setObjectName(QStringLiteral("plugin_notice_label"));
    m_noticeLabel->setWordWrap(true);
    m_noticeLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_noticeLabel->hide();
    layout->addWidget(m_noticeLabel);

    auto* createLabel = new QLabel(tr("Create"));
    createLabel->setObjectName(QStringLiteral("section_label"));
    layout->addWidget(createLabel);

    m_tilesArea = new QWidget;
    m_tilesArea->setObjectName(QStringLiteral("tiles_area"));
    m_tilesLayout = new QGridLayout(m_tilesArea);
    m_tilesLayout->setContentsMargins(0, 0, 0, 0);
    m_tilesLayout->setSpacing(12);
    m_tilesLayout->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    layout->addWidget(m_tilesArea);

    m_emptyLabel = new QLabel(tr("No plug-in is loaded, so there is nothing to create yet. Applications appear here "
                                 "when their plug-ins are installed in the host's plug-in folder or in a folder "
                                 "named by ZYN_PLUGIN_PATH."));
    m_emptyLabel->setObjectName(QStringLiteral("empty_state_label"));
    m_emptyLabel->setWordWrap(true);
    layout->addWidget(m_emptyLabel);

    auto* projectsLabel = new QLabel(tr("Projects"));
    projectsLabel->setObjectName(QStringLiteral("section_label"));
    layout->addWidget(projectsLabel);

    m_projects = new QTreeWidget;
    m_projects->setObjectName(QStringLiteral("projects_treeWidget"));
    m_projects->setRootIsDecorated(false);
    m_projects->setUniformRowHeights(true);
    m_projects->setHeaderLabels({tr("Name"), tr("State"), tr("Photos"), tr("Coordinate system"), tr("Created")});
    m_projects->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_projects->setToolTip(tr("Double-click a project to open its folder."));
    connect(m_projects.data(), &QTreeWidget::itemDoubleClicked, this, [](QTreeWidgetItem* item) {
        QDesktopServices::openUrl(QUrl::fromLocalFile(item->data(0, Qt::UserRole).toString()));
    });
    layout->addWidget(m_projects, 1);

    m_noProjectsLabel = new QLabel(tr("No projects yet."));
    m_noProjectsLabel->setObjectName(QStringLiteral("no_projects_label"));
    layout->addWidget(m_noProjectsLabel);
    // Takes the room the projects list leaves while it is hidden.
    m_bottomStretch = new QWidget;
    layout->addWidget(m_bottomStretch, 1);

    view->setContentWidget(content);
    rebuildTiles();
    refreshProjects();
    return view;
}

int DashboardVC::addApp(UiBase::IApp* app)
{
    if (!app || m_apps.contains(app))
        return 0;
    m_apps << app;
    int added = 0;
    const QList<CommandBase*> commands = app->createCommands(this);
    for (CommandBase* command : commands) {
        if (!command)
            continue;
        // The dashboard owns what the application gave it.
        if (!command->parent())
            command->setParent(this);
        if (addCommand(command))
            ++added;
    }
    rebuildTiles();
    return added;
}

void DashboardVC::addNotice(const QString& message)
{
    m_notices << message;
    if (!m_noticeLabel)
        return;
    QStringList lines;
    for (const QString& n : m_notices)
        lines << n.toHtmlEscaped();
    m_noticeLabel->setText(QStringLiteral("<b>%1</b><br>%2")
                               .arg(tr("Some plug-ins could not be loaded:").toHtmlEscaped(),
                                    lines.join(QStringLiteral("<br>"))));
    m_noticeLabel->show();
}

QList<CommandBase*> DashboardVC::tileCommands() const
{
    return flattenedCommands();
}

void DashboardVC::rebuildTiles()
{
    if (!m_tilesLayout)
        return;
    while (QLayoutItem* item = m_tilesLayout->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    const QList<CommandBase*> commands = tileCommands();
    const int columns = 4;
    int i = 0;
    for (CommandBase* command : commands) {
        auto* tile = new QToolButton;
        tile->setObjectName(QStringLiteral("tile_") + command->getCommandName());
        tile->setProperty("tile", true);
        tile->setDefaultAction(command);
        tile->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        tile->setIconSize(QSize(64, 64));
        tile->setAutoRaise(false);
        if (command->isPaidFeature()) {
            // The badge sits in the tile's corner and says why in its tool tip.
            auto* badge = new QLabel(tile);
            badge->setObjectName(QStringLiteral("paid_badge"));
            badge->setPixmap(UiBase::QtUiToolkit::Instance()->getPixmap(QStringLiteral("paid_badge.png"), QSize(20, 20)));
            // Credits are promised only to accounts that pay with them.
            const bool credits = Services::EntitlementService::currentEntitlementType()
                                 == Services::EntitlementService::CloudCreditsAccount;
            badge->setToolTip(credits ? tr("A paid feature: its projects use cloud credits")
                                      : tr("A paid feature: your account processes projects without cloud credits"));
            badge->move(6, 6);
        }
        m_tilesLayout->addWidget(tile, i / columns, i % columns);
        ++i;
    }
    m_emptyLabel->setVisible(commands.isEmpty());
    m_tilesArea->setVisible(!commands.isEmpty());
}

void DashboardVC::refreshProjects()
{
    if (!m_projects)
        return;
    m_projects->clear();
    const QList<AppCreate::ProjectInfo> projects = AppCreate::ProcessingService::instance()->projects();
    const QIcon icon = UiBase::QtUiToolkit::Instance()->getIcon(QStringLiteral("project.png"));
    for (const AppCreate::ProjectInfo& p : projects) {
        QString state = p.state;
        if (p.state == AppCreate::ProcessingService::stateQueued())
            state = tr("Queued");
        else if (p.state == AppCreate::ProcessingService::stateReady())
            state = tr("Ready");
        else if (p.state == AppCreate::ProcessingService::stateFailed())
            state = tr("Failed");
        auto* item = new QTreeWidgetItem(m_projects);
        item->setIcon(0, icon);
        item->setText(0, p.name);
        item->setText(1, state);
        item->setText(2, QString::number(p.photoCount));
        item->setText(3, p.coordSysDescription.isEmpty() ? p.coordSysId
                                                          : QStringLiteral("%1 (%2)").arg(p.coordSysDescription, p.coordSysId));
        item->setText(4, p.created.isValid() ? QLocale().toString(p.created.toLocalTime(), QLocale::ShortFormat) : QString());
        item->setToolTip(0, p.folder);
        item->setToolTip(1, p.stateDetail);
        item->setData(0, Qt::UserRole, p.folder);
    }
    // Every column but the name as wide as its texts, header included.
    for (int column = 1; column < m_projects->columnCount(); ++column)
        m_projects->resizeColumnToContents(column);
    m_noProjectsLabel->setVisible(projects.isEmpty());
    m_projects->setVisible(!projects.isEmpty());
    m_bottomStretch->setVisible(projects.isEmpty());
}

void DashboardVC::presentViewController(UiBase::BaseViewController* controller, int direction)
{
    // Views inside a presented panel present their own panels over the
    // whole dashboard, not inside the panel.
    if (auto* panel = qobject_cast<UiToolkit::ActionPanelVC*>(controller)) {
        if (auto* presenter = dynamic_cast<KeelCore::Delegator<UiBase::PresentViewProtocol>*>(
                panel->getMainViewController()))
            presenter->setDelegate(this);
    }
    CmdsViewController::presentViewController(controller, direction);
}

void DashboardVC::presentView(UiBase::BaseViewController* controller, int direction)
{
    presentViewController(controller, direction);
}

void DashboardVC::dismissView(UiBase::BaseViewController* controller)
{
    if (controller && controller->presentingViewController() == this)
        controller->dismissViewController();
}

} // namespace AppDashboard
} // namespace Zyn
