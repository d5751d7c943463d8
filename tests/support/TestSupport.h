#pragma once

#include <QEvent>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <functional>

namespace Zyn {
namespace TestSupport {

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

// Calls action once with the first visible modal widget of type T that
// appears; rejects it afterwards if the action left it open. Polls on a
// GUI-thread timer, so a test can call this right before the code that
// opens the dialog with exec().
void whenModalShown(const std::function<QWidget*(QWidget*)>& match, const std::function<void(QWidget*)>& action);

template <class T>
void whenModalShown(const std::function<void(T*)>& action)
{
    whenModalShown([](QWidget* w) -> QWidget* { return qobject_cast<T*>(w); },
                   [action](QWidget* w) { action(static_cast<T*>(w)); });
}

} // namespace TestSupport
} // namespace Zyn
