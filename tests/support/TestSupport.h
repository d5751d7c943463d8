#pragma once

#include <uibase/TaskDialog.h>

#include <QApplication>
#include <QByteArray>
#include <QDialog>
#include <QEvent>
#include <QList>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <functional>

namespace Zyn {
namespace TestSupport {

// A file's bytes (empty when it cannot be read), and a whole write.
QByteArray readFile(const QString& path);
bool writeFile(const QString& path, const QByteArray& bytes);

// Runs tools/make_drone_photos (found through ZYN_TOOLS_DIR) into outDir
// with small photos, then answers the generated JPEG paths in name order.
// extraArgs are appended to the tool's defaults (--width 320 --height 240
// --jobs 1). Empty on failure, with the tool's error logged.
QStringList makeDronePhotos(const QString& outDir, const QStringList& extraArgs);

// The 20-photo flight over three surveyed targets (gcp_truth.txt,
// gcp_pixels.csv beside the photos), 100 m above ground, 640x427.
QStringList makeTargetFlight(const QString& outDir);

// Resizes (when size is valid) and shows w; true once it is exposed.
bool showExposed(QWidget* w, const QSize& size = QSize());

// Sends one mouse event of type to w at pos, with buttons held.
void sendMouse(QWidget* w, QEvent::Type type, const QPoint& pos, Qt::MouseButton button, Qt::MouseButtons buttons);

// Gives the test settings of its own: QStandardPaths' test mode and the
// application name `name`; with configDir, also its own host configuration
// file there. Call from initTestCase.
void isolateSettings(const QString& name, const QString& configDir = QString());

// Answers every host task dialog with `answer` from record() until stop(),
// keeping the requests in this list so a test can check what was asked.
class DialogRecorder : public QList<UiBase::TaskDialog::Request> {
public:
    // Forgets earlier requests and starts answering.
    void record(int answerWith = UiBase::TaskDialog::Ok)
    {
        clear();
        answer = answerWith;
        UiBase::TaskDialog::setHandler([this](const UiBase::TaskDialog::Request& request) {
            append(request);
            return answer;
        });
    }
    void stop() { UiBase::TaskDialog::clearHandler(); }
    int answer = UiBase::TaskDialog::Ok;
};

// Calls action once with the first visible modal widget of type T that
// appears; rejects it afterwards if the action left it open. Polls on a
// GUI-thread timer, so a test can call this right before the code that
// opens the dialog with exec().
template <class T>
void whenModalShown(const std::function<void(T*)>& action)
{
    auto* timer = new QTimer(qApp);
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, action] {
        QPointer<T> target = qobject_cast<T*>(QApplication::activeModalWidget());
        if (!target || !target->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        action(target);
        if (auto* dialog = qobject_cast<QDialog*>(target.data()); dialog && dialog->isVisible())
            dialog->reject();
    });
    timer->start();
}

} // namespace TestSupport
} // namespace Zyn
