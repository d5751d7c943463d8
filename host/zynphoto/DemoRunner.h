#pragma once

#include <QDir>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class QWidget;

namespace Zyn {
namespace AppCreate {
class CreateViewController;
}

namespace Host {

class MainWindow;

// The scripted walk of --demo: screenshots of the dashboard, of the aerial
// create view with its GPS warning, of the settings flyout with the
// proposed UTM zone, and of the survey points placed on a photo. Each step waits for what it needs with a time limit;
// a missing plug-in or tool is reported and the steps that need it are
// skipped. finished(exitCode) ends the walk.
class DemoRunner : public QObject {
    Q_OBJECT
public:
    DemoRunner(MainWindow* window, const QString& outDir, QObject* parent = nullptr);

    void start();
    QStringList screenshots() const { return m_shots; }

signals:
    void finished(int exitCode);

private:
    using Condition = std::function<bool()>;
    using Step = std::function<void()>;

    // Polls condition every 100 ms until it holds (then runs next) or
    // timeoutMs pass (then fails the walk with message).
    void waitFor(const Condition& condition, int timeoutMs, const QString& message, const Step& next);
    bool save(const QPixmap& pixmap, const QString& name);
    QPixmap grabWithWindows(const QList<QWidget*>& windows) const;

    void shootDashboard();
    void openCreateView();
    void addPhotos();
    void shootFlyout();
    void shootCatalogueSearch();
    void walkSurveyPoints();
    void startProject();
    void finish(int code, const QString& message = QString());

    QString findPhotoTool() const;

    QPointer<MainWindow> m_window;
    QDir m_out;
    QStringList m_shots;
    QPointer<AppCreate::CreateViewController> m_create;
    QString m_photoDir;
    bool m_done = false;
    int m_failures = 0;
};

} // namespace Host
} // namespace Zyn
