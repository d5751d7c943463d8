// Opens a 20 MP and a 40 MP drone photo in the marking view and measures
// the first picture, the full decode against a bare QImageReader decode of
// the same file, and the longest GUI frame while panning and zooming.
#include <uitoolkit/ZoomableImgWidget.h>

#include <keelcore/Dispatch.h>

#include <TestPhotos.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImageReader>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QWheelEvent>

#include <algorithm>
#include <cstdio>
#include <vector>

using Zyn::UiToolkit::ZoomableImgWidget;

namespace {
double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

bool waitFor(const std::function<bool()>& done, int timeoutMs)
{
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

void line(const char* what, double value, double limit, const char* unit, bool lowerIsBetter = true)
{
    const bool ok = lowerIsBetter ? value <= limit : value >= limit;
    std::printf("target: %s %.2f%s (limit %.2f%s) %s\n", what, value, unit, limit, unit, ok ? "ok" : "MISSED");
}
} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    const QString photo20 = dir.filePath(QStringLiteral("20mp.jpg"));
    const QString photo40 = dir.filePath(QStringLiteral("40mp.jpg"));
    std::printf("writing a 20 MP and a 40 MP photo...\n");
    const QImage small = TestPhotos::makePicture(QSize(160, 120), 7);
    if (!TestPhotos::writeJpeg(photo20, TestPhotos::makePicture(QSize(5472, 3648), 7), small, 90)
        || !TestPhotos::writeJpeg(photo40, TestPhotos::makePicture(QSize(7752, 5168), 9), small, 90)) {
        std::fprintf(stderr, "cannot write the photos\n");
        return 1;
    }

    ZoomableImgWidget view;
    view.resize(1600, 1000);
    view.show();
    std::vector<double> bare, first, full;
    for (int run = 0; run < 5; ++run) {
        QElapsedTimer t;
        t.start();
        QImageReader reader(photo20);
        reader.setAutoTransform(true);
        const QImage decoded = reader.read();
        bare.push_back(t.nsecsElapsed() / 1e6);
        if (decoded.isNull())
            return 1;

        ZoomableImgWidget::clearCache();
        view.loadImage(QString());
        bool shown = false;
        const auto connection = QObject::connect(&view, &ZoomableImgWidget::imageLoaded, [&] { shown = true; });
        t.restart();
        view.loadImage(photo20);
        double firstMs = -1;
        if (!waitFor(
                [&] {
                    if (firstMs < 0 && shown)
                        firstMs = t.nsecsElapsed() / 1e6;
                    return view.isFullResolution();
                },
                30000))
            return 1;
        QObject::disconnect(connection);
        if (firstMs < 0)
            firstMs = t.nsecsElapsed() / 1e6;
        first.push_back(firstMs);
        full.push_back(t.nsecsElapsed() / 1e6);
    }
    const double bareMs = median(bare), firstMs = median(first), fullMs = median(full);
    std::printf("20 MP: bare QImageReader decode %.1f ms; first picture %.1f ms; full resolution %.1f ms (%.2fx)\n",
                bareMs, firstMs, fullMs, fullMs / bareMs);

    // Pan and zoom a 40 MP photo: every event handled and painted at once.
    view.loadImage(photo40);
    if (!waitFor([&] { return view.isFullResolution(); }, 60000))
        return 1;
    double worst = 0, total = 0;
    int frames = 0;
    auto frame = [&](const std::function<void()>& input) {
        QElapsedTimer t;
        t.start();
        input();
        view.repaint();
        const double ms = t.nsecsElapsed() / 1e6;
        worst = std::max(worst, ms);
        total += ms;
        ++frames;
    };
    for (int round = 0; round < 4; ++round) {
        const QPointF at(300 + round * 300, 250 + round * 150);
        for (int step = 0; step < 12; ++step) {
            frame([&] {
                QWheelEvent wheel(at, view.mapToGlobal(at.toPoint()), QPoint(), QPoint(0, step < 8 ? 120 : -120),
                                  Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
                QApplication::sendEvent(&view, &wheel);
            });
        }
        QMouseEvent press(QEvent::MouseButtonPress, QPointF(800, 500), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&view, &press);
        for (int step = 1; step <= 40; ++step) {
            frame([&] {
                QMouseEvent move(QEvent::MouseMove, QPointF(800 - step * 9, 500 - step * 5), Qt::NoButton,
                                 Qt::LeftButton, Qt::NoModifier);
                QApplication::sendEvent(&view, &move);
            });
        }
        QMouseEvent release(QEvent::MouseButtonRelease, QPointF(440, 300), Qt::LeftButton, Qt::NoButton,
                            Qt::NoModifier);
        QApplication::sendEvent(&view, &release);
        frame([&] { view.zoomToFit(); });
    }
    std::printf("40 MP pan and zoom: %d frames, mean %.2f ms, longest %.2f ms\n", frames, total / frames, worst);

    line("first picture of a 20 MP photo", firstMs, 150.0, " ms");
    line("full resolution vs bare decode", fullMs / bareMs, 1.2, "x");
    line("longest GUI frame panning and zooming 40 MP", worst, 16.0, " ms");
    KeelCore::waitForIdle();
    return 0;
}
