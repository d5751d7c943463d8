#include "DemoRunner.h"

#include "GcpWalk.h"
#include "MainWindow.h"

#include <appcreate/CreateModelFlyout.h>
#include <appcreate/CreateViewController.h>
#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <dashboard/DashboardVC.h>
#include <uibase/FileDialog.h>
#include <uitoolkit/ActionPanelVC.h>

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QCoreApplication>
#include <QDialog>
#include <QFileInfo>
#include <QPainter>
#include <QPointer>
#include <QProcess>
#include <QTimer>
#include <QWidget>

#include <cstdio>

namespace Zyn {
namespace Host {

namespace {
void say(const QString& text)
{
    std::printf("%s\n", qPrintable(text));
    std::fflush(stdout);
}

// A modal dialog of the running walk (e.g. the GPS warning), if one is up.
QDialog* visibleModalDialog()
{
    return qobject_cast<QDialog*>(QApplication::activeModalWidget());
}
} // namespace

DemoRunner::DemoRunner(MainWindow* window, const QString& outDir, QObject* parent)
    : QObject(parent)
    , m_window(window)
    , m_out(outDir)
{
}

void DemoRunner::start()
{
    if (!m_out.exists() && !QDir().mkpath(m_out.absolutePath())) {
        finish(1, QStringLiteral("demo: cannot create the screenshot folder %1").arg(m_out.absolutePath()));
        return;
    }
    // The walk's projects (and the survey it saves) stay beside its
    // screenshots, never among the user's.
    const QString projects = m_out.absoluteFilePath(QStringLiteral("projects"));
    QDir(projects).removeRecursively();
    qputenv("ZYN_PROJECTS_DIR", QFile::encodeName(projects));
    // Nothing in the walk may wait for a person at a file dialog.
    UiBase::FileDialog::setHandler([](const UiBase::FileDialog::Request&) { return QStringList(); });
    // A hard limit over everything, whatever a step does.
    QTimer::singleShot(240000, this, [this] {
        // What was on screen when it stuck says why.
        QList<QWidget*> windows;
        for (QWidget* w : QApplication::topLevelWidgets())
            if (w != m_window && w->isVisible())
                windows << w;
        save(grabWithWindows(windows), QStringLiteral("stuck.png"));
        finish(1, QStringLiteral("demo: gave up after 240 s"));
    });
    m_window->show();
    waitFor([this] { return m_window && m_window->isVisible(); }, 10000,
            QStringLiteral("the main window did not appear"), [this] {
                QTimer::singleShot(500, this, [this] { shootDashboard(); });
            });
}

void DemoRunner::waitFor(const Condition& condition, int timeoutMs, const QString& message, const Step& next)
{
    auto clock = std::make_shared<QElapsedTimer>();
    clock->start();
    auto poll = std::make_shared<std::function<void()>>();
    *poll = [this, condition, timeoutMs, message, next, clock, poll] {
        if (m_done)
            return;
        if (condition()) {
            next();
            return;
        }
        if (clock->elapsed() > timeoutMs) {
            finish(1, QStringLiteral("demo: %1 (waited %2 s)").arg(message).arg(timeoutMs / 1000));
            return;
        }
        QTimer::singleShot(100, this, [poll] { (*poll)(); });
    };
    (*poll)();
}

bool DemoRunner::save(const QPixmap& pixmap, const QString& name)
{
    const QString path = m_out.absoluteFilePath(name);
    if (pixmap.isNull() || !pixmap.save(path)) {
        say(QStringLiteral("demo: could not write %1").arg(path));
        ++m_failures;
        return false;
    }
    m_shots << path;
    say(QStringLiteral("screenshot: %1").arg(path));
    return true;
}

QPixmap DemoRunner::grabWithWindows(const QList<QWidget*>& windows) const
{
    // The window and the dialogs over it, composed as they are on screen,
    // so the picture is right on any platform plug-in.
    // The picture grows to take in a dialog reaching past the window.
    const QPoint origin = m_window->mapToGlobal(QPoint(0, 0));
    QRect area(QPoint(0, 0), m_window->size());
    for (QWidget* w : windows) {
        if (w && w->isVisible())
            area |= QRect(w->mapToGlobal(QPoint(0, 0)) - origin, w->size());
    }
    QPixmap shot(area.size());
    shot.fill(Qt::darkGray);
    QPainter painter(&shot);
    painter.drawPixmap(-area.topLeft(), m_window->grab());
    for (QWidget* w : windows) {
        if (!w || !w->isVisible())
            continue;
        painter.drawPixmap(w->mapToGlobal(QPoint(0, 0)) - origin - area.topLeft(), w->grab());
    }
    return shot;
}

void DemoRunner::shootDashboard()
{
    save(m_window->grab(), QStringLiteral("01-dashboard.png"));
    openCreateView();
}

void DemoRunner::openCreateView()
{
    AppDashboard::DashboardVC* dashboard = m_window->dashboard();
    UiBase::CommandBase* command = nullptr;
    for (UiBase::CommandBase* c : dashboard->tileCommands()) {
        if (c->getCommandName().endsWith(QLatin1String("AerialCaptureApp")))
            command = c;
    }
    if (!command) {
        finish(2, QStringLiteral("demo: the aerial plug-in is not loaded (looked in: %1); only the dashboard was "
                                 "captured")
                      .arg(dashboard->notices().isEmpty() ? QStringLiteral("the plug-in folders")
                                                          : dashboard->notices().join(QStringLiteral("; "))));
        return;
    }
    m_photoDir = m_out.absoluteFilePath(QStringLiteral("photos"));
    const QString tool = findPhotoTool();
    if (tool.isEmpty()) {
        finish(2, QStringLiteral("demo: make_drone_photos not found (set ZYN_TOOLS_DIR); no photos to add"));
        return;
    }
    QDir(m_photoDir).removeRecursively();
    QProcess make;
    make.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    make.start(tool, {QStringLiteral("--out"), m_photoDir, QStringLiteral("--count"), QStringLiteral("12"),
                      QStringLiteral("--lat"), QStringLiteral("46.5480"), QStringLiteral("--lon"),
                      QStringLiteral("7.9820"), QStringLiteral("--alt"), QStringLiteral("120"),
                      QStringLiteral("--width"), QStringLiteral("1600"), QStringLiteral("--height"),
                      QStringLiteral("1200"), QStringLiteral("--zero-gps"), QStringLiteral("2"),
                      QStringLiteral("--gcps"), QStringLiteral("3"), QStringLiteral("--target-size"),
                      QStringLiteral("3")});
    if (!make.waitForFinished(120000) || make.exitStatus() != QProcess::NormalExit || make.exitCode() != 0) {
        make.kill();
        finish(1, QStringLiteral("demo: %1 failed: %2").arg(tool, make.errorString()));
        return;
    }

    GcpWalk::prepare(m_photoDir);

    command->trigger();
    waitFor(
        [this, dashboard] {
            auto* panel = qobject_cast<UiToolkit::ActionPanelVC*>(dashboard->presentedViewController());
            if (!panel)
                return false;
            m_create = qobject_cast<AppCreate::CreateViewController*>(panel->getMainViewController());
            return !m_create.isNull() && m_create->getQtWidget() && m_create->getQtWidget()->isVisible();
        },
        10000, QStringLiteral("the aerial command did not open the create view"), [this] { addPhotos(); });
}

void DemoRunner::addPhotos()
{
    auto* state = qobject_cast<AppCreate::MainState*>(m_create->getState());
    AppCreate::PhotoPreview* canvas = state ? state->getPhotoCanvas() : nullptr;
    if (!canvas) {
        finish(1, QStringLiteral("demo: the create view has no photo canvas"));
        return;
    }
    canvas->addFiles({m_photoDir});
    // The GPS check runs in the background; its warning is a modal dialog.
    waitFor([] { return visibleModalDialog() != nullptr; }, 30000,
            QStringLiteral("no GPS warning appeared for photos without GPS"), [this] {
                QTimer::singleShot(300, this, [this] {
                    QDialog* dialog = visibleModalDialog();
                    if (!dialog) {
                        finish(1, QStringLiteral("demo: the GPS warning went away"));
                        return;
                    }
                    save(grabWithWindows({dialog}), QStringLiteral("02-create-view-gps-warning.png"));
                    dialog->done(QDialog::Accepted);
                    QTimer::singleShot(300, this, [this] { shootFlyout(); });
                });
            });
}

void DemoRunner::shootFlyout()
{
    auto* state = m_create ? qobject_cast<AppCreate::MainState*>(m_create->getState()) : nullptr;
    AppCreate::PhotoPreview* canvas = state ? state->getPhotoCanvas() : nullptr;
    if (!canvas) {
        finish(1, QStringLiteral("demo: the create view went away"));
        return;
    }
    // What the canvas's Create button does.
    emit canvas->createRequested();
    auto flyoutReady = [canvas] {
        QDialog* flyout = canvas ? canvas->getFlyout() : nullptr;
        return flyout && flyout->isVisible();
    };
    waitFor(flyoutReady, 10000, QStringLiteral("the settings flyout did not open"), [this, canvas] {
        // The selector reads the catalogue in the background before it
        // shows the proposed zone.
        QTimer::singleShot(2500, this, [this, canvas] {
            if (!canvas) {
                finish(1, QStringLiteral("demo: the create view went away"));
                return;
            }
            save(grabWithWindows({canvas->getFlyout()}), QStringLiteral("03-settings-flyout-utm-zone.png"));
            shootCatalogueSearch();
        });
    });
}

void DemoRunner::shootCatalogueSearch()
{
    auto* state = m_create ? qobject_cast<AppCreate::MainState*>(m_create->getState()) : nullptr;
    QPointer<QDialog> flyout = state && state->getPhotoCanvas() ? state->getPhotoCanvas()->getFlyout() : nullptr;
    auto* browse = flyout ? flyout->findChild<QAbstractButton*>(QStringLiteral("button_browse")) : nullptr;
    if (!browse) {
        finish(1, QStringLiteral("demo: the flyout has no coordinate-system browse button"));
        return;
    }
    // The catalogue runs its own event loop: open it from the next turn.
    QTimer::singleShot(0, browse, &QAbstractButton::click);
    waitFor([] { return visibleModalDialog() && visibleModalDialog()->findChild<QLineEdit*>(QStringLiteral("txtbox_search")); },
            10000, QStringLiteral("the coordinate-system catalogue did not open"), [this, flyout] {
                QPointer<QDialog> catalogue = visibleModalDialog();
                // Words in any order, as a surveyor would type them.
                catalogue->findChild<QLineEdit*>(QStringLiteral("txtbox_search"))->setText(QStringLiteral("utm 32 wgs"));
                QTimer::singleShot(2500, this, [this, flyout, catalogue] {
                    if (catalogue) {
                        save(grabWithWindows({catalogue}), QStringLiteral("03b-catalogue-search-utm-32-wgs.png"));
                        catalogue->reject();
                    }
                    if (flyout)
                        flyout->reject();
                    walkSurveyPoints();
                });
            });
}

void DemoRunner::walkSurveyPoints()
{
    auto* walk = new GcpWalk(
        m_create, m_window, m_photoDir,
        [this](const GcpWalk::Condition& c, int ms, const QString& why, const GcpWalk::Step& next) {
            waitFor(c, ms, why, next);
        },
        [this](const QPixmap& shot, const QString& name) { return save(shot, name); },
        [this] { startProject(); }, this);
    walk->start();
}

void DemoRunner::startProject()
{
    auto* state = m_create ? qobject_cast<AppCreate::MainState*>(m_create->getState()) : nullptr;
    AppCreate::PhotoPreview* canvas = state ? state->getPhotoCanvas() : nullptr;
    if (!canvas) {
        finish(m_failures ? 1 : 0);
        return;
    }
    // Back from the survey points (their panel's own close), then Start.
    for (auto* close : m_window->findChildren<QAbstractButton*>(QStringLiteral("button_close")))
        close->click();
    AppCreate::CreateModelFlyout::setTermsHandler([](const QString&) { return true; });
    connect(m_create, &AppCreate::CreateViewController::projectSubmitted, this, [this](const QString& folder) {
        QFile list(QDir(folder).filePath(QStringLiteral("gcp_list.txt")));
        const int rows = list.open(QIODevice::ReadOnly) ? list.readAll().count('\n') - 1 : -1;
        say(QStringLiteral("demo: project written to %1 with %2 control-point rows in gcp_list.txt").arg(folder).arg(rows));
        QTimer::singleShot(1500, this, [this] {
            save(m_window->grab(), QStringLiteral("07-project-started.png"));
            finish(m_failures ? 1 : 0);
        });
    });
    emit canvas->createRequested();
    waitFor([canvas] { return canvas && canvas->getFlyout() && canvas->getFlyout()->isVisible(); }, 10000,
            QStringLiteral("the settings flyout did not open for Start"), [this, canvas] {
                QDialog* flyout = canvas->getFlyout();
                if (auto* name = flyout->findChild<QLineEdit*>(QStringLiteral("modelname_lineedit")))
                    name->setText(QStringLiteral("Survey_with_GCPs"));
                QTimer::singleShot(2500, this, [this, flyout] {
                    if (auto* start = flyout->findChild<QAbstractButton*>(QStringLiteral("start_button")))
                        start->click();
                    waitFor([this] { return m_shots.last().endsWith(QLatin1String("07-project-started.png")); }, 30000,
                            QStringLiteral("Start did not write the project"), [] {});
                });
            });
}

QString DemoRunner::findPhotoTool() const
{
    QStringList candidates;
    const QString env = qEnvironmentVariable("ZYN_TOOLS_DIR");
    if (!env.isEmpty())
        candidates << QDir(env).filePath(QStringLiteral("make_drone_photos"));
    candidates << QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("make_drone_photos"));
    for (const QString& c : candidates) {
        if (QFileInfo(c).isExecutable())
            return c;
    }
    return QString();
}

void DemoRunner::finish(int code, const QString& message)
{
    if (m_done)
        return;
    m_done = true;
    if (!message.isEmpty())
        say(message);
    say(QStringLiteral("demo: %1 screenshot(s) in %2").arg(m_shots.size()).arg(m_out.absolutePath()));
    UiBase::FileDialog::clearHandler();
    AppCreate::CreateModelFlyout::clearTermsHandler();
    // Let a modal dialog that is still up return first.
    if (QDialog* dialog = visibleModalDialog())
        dialog->done(QDialog::Rejected);
    emit finished(code);
}

} // namespace Host
} // namespace Zyn
