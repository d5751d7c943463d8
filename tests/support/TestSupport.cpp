#include "TestSupport.h"

#include <QtTest>
#include <QtWidgets>

namespace Zyn {
namespace TestSupport {

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

QStringList makeDronePhotos(const QString& outDir, const QStringList& extraArgs)
{
    const QString tool = QDir(qEnvironmentVariable("ZYN_TOOLS_DIR")).filePath(QStringLiteral("make_drone_photos"));
    QProcess process;
    process.start(tool, QStringList{"--out", outDir, "--width", "320", "--height", "240", "--jobs", "1"} + extraArgs);
    if (!process.waitForFinished(120000) || process.exitCode() != 0) {
        qWarning() << "make_drone_photos failed:" << process.errorString() << process.readAllStandardError();
        return {};
    }
    const QDir dir(outDir);
    QStringList files;
    for (const QString& f : dir.entryList({QStringLiteral("*.JPG")}, QDir::Files, QDir::Name))
        files << dir.filePath(f);
    return files;
}

QStringList makeTargetFlight(const QString& outDir)
{
    return makeDronePhotos(outDir, {"--count", "20", "--lat", "47.07", "--lon", "15.44", "--alt", "450", "--agl", "100",
                                    "--width", "640", "--height", "427", "--gcps", "3", "--target-size", "8"});
}

bool showExposed(QWidget* w, const QSize& size)
{
    if (size.isValid())
        w->resize(size);
    w->show();
    return QTest::qWaitForWindowExposed(w);
}

void sendMouse(QWidget* w, QEvent::Type type, const QPoint& pos, Qt::MouseButton button, Qt::MouseButtons buttons)
{
    QMouseEvent event(type, pos, w->mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(w, &event);
}

void isolateSettings(const QString& name, const QString& configDir)
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("ZynPhotoTests"));
    QCoreApplication::setApplicationName(name);
    if (!configDir.isEmpty())
        qputenv("ZYN_CONFIG_FILE", QDir(configDir).filePath(QStringLiteral("zynphoto.ini")).toLocal8Bit());
}

} // namespace TestSupport
} // namespace Zyn
