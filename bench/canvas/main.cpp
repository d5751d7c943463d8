// Opens the photo canvas offscreen, adds a folder of full-size photos and
// measures how long the GUI thread is ever kept from its event loop while
// the thumbnails load, and how long until every thumbnail is ready. The
// peers, measured in the same run: the 50 ms responsiveness limit, and
// decoding the same thumbnails one after another with the same function.

#include "TestPhotos.h"

#include <appcreate/PhotoPreview.h>
#include <keelcore/Dispatch.h>
#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/ThumbnailLoader.h>
#include <uitoolkit/ThumbnailView.h>
#include <utilities/Utilities.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ctime>

#include <unistd.h>
#include <memory>
#include <vector>

namespace {

constexpr double kStallLimitMs = 50.0;

// A full-size aerial-looking picture with sensor-like noise, so the JPEG
// has a realistic size and decode cost.
QImage noisyPicture(const QSize& size, int seed)
{
    QImage image = TestPhotos::makePicture(size, seed);
    QRandomGenerator random(quint32(seed) * 7919u + 1u);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int n = int(random.bounded(33u)) - 16;
            const QRgb p = line[x];
            line[x] = qRgb(qBound(0, qRed(p) + n, 255), qBound(0, qGreen(p) + n, 255), qBound(0, qBlue(p) + n, 255));
        }
    }
    return image;
}

// Writes count photos: a few distinct encoded pictures, each written under
// many names (decoding cost depends on the bytes, not on the name). Every
// noExifEvery-th photo has no EXIF thumbnail and needs a full scaled decode.
bool makePhotos(const QString& folder, int count, const QSize& size, int noExifEvery, qint64* totalBytes)
{
    constexpr int kDistinct = 6;
    std::vector<QByteArray> withExif, withoutExif;
    QTemporaryDir scratch;
    for (int i = 0; i < kDistinct; ++i) {
        const QImage picture = noisyPicture(size, i + 1);
        const QImage thumb = picture.scaled(QSize(160, 120), Qt::KeepAspectRatio, Qt::SmoothTransformation);
        for (bool exif : {true, false}) {
            const QString path = scratch.filePath(QStringLiteral("base.jpg"));
            if (!TestPhotos::writeJpeg(path, picture, exif ? thumb : QImage(), 92))
                return false;
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                return false;
            (exif ? withExif : withoutExif).push_back(file.readAll());
        }
    }
    *totalBytes = 0;
    for (int i = 1; i <= count; ++i) {
        const bool exif = noExifEvery <= 0 || i % noExifEvery != 0;
        const QByteArray& bytes = (exif ? withExif : withoutExif)[size_t(i % kDistinct)];
        QFile file(QDir(folder).filePath(QStringLiteral("DJI_%1.JPG").arg(i, 4, 10, QLatin1Char('0'))));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return false;
        *totalBytes += bytes.size();
    }
    return true;
}

// CPU time the calling thread has used, in milliseconds.
double threadCpuMs()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

QString loadAverage()
{
    QFile file(QStringLiteral("/proc/loadavg"));
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("unknown");
    return QString::fromLatin1(file.readLine()).section(QLatin1Char(' '), 0, 2);
}

double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    const size_t index = std::min(values.size() - 1, size_t(p * double(values.size() - 1) + 0.5));
    return values[index];
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Photo canvas responsiveness benchmark"));
    parser.addHelpOption();
    QCommandLineOption countOption(QStringLiteral("count"), QStringLiteral("Number of photos."), QStringLiteral("n"),
                                   QStringLiteral("1000"));
    QCommandLineOption widthOption(QStringLiteral("width"), QStringLiteral("Photo width."), QStringLiteral("px"),
                                   QStringLiteral("4000"));
    QCommandLineOption heightOption(QStringLiteral("height"), QStringLiteral("Photo height."), QStringLiteral("px"),
                                    QStringLiteral("3000"));
    QCommandLineOption noExifOption(QStringLiteral("no-exif-every"),
                                    QStringLiteral("Every k-th photo has no EXIF thumbnail (0: all have one)."),
                                    QStringLiteral("k"), QStringLiteral("10"));
    QCommandLineOption inFlightOption(QStringLiteral("in-flight"),
                                      QStringLiteral("Decode jobs in flight (default: the loader's own)."),
                                      QStringLiteral("n"));
    QCommandLineOption noScrollOption(QStringLiteral("no-scroll"), QStringLiteral("Do not scroll while loading."));
    QCommandLineOption dirOption(QStringLiteral("dir"),
                                 QStringLiteral("Use the photos in this folder; when it has none, generate them "
                                                "there and keep them for later runs."),
                                 QStringLiteral("folder"));
    parser.addOptions({countOption, widthOption, heightOption, noExifOption, inFlightOption, noScrollOption, dirOption});
    parser.process(app);

    const int count = std::max(1, parser.value(countOption).toInt());
    const QSize size(std::max(16, parser.value(widthOption).toInt()), std::max(16, parser.value(heightOption).toInt()));
    const int noExifEvery = parser.value(noExifOption).toInt();

    std::unique_ptr<QTemporaryDir> generated;
    QString folder = parser.value(dirOption);
    QElapsedTimer clock;
    const bool reuse = !folder.isEmpty() &&
                       !QDir(folder).entryList({QStringLiteral("*.JPG")}, QDir::Files).isEmpty();
    if (folder.isEmpty()) {
        generated.reset(new QTemporaryDir);
        if (!generated->isValid()) {
            std::fprintf(stderr, "cannot create a temporary folder\n");
            return 1;
        }
        folder = generated->path();
    } else if (!reuse && !QDir().mkpath(folder)) {
        std::fprintf(stderr, "cannot create %s\n", qPrintable(folder));
        return 1;
    }
    if (!reuse) {
        clock.start();
        qint64 bytes = 0;
        if (!makePhotos(folder, count, size, noExifEvery, &bytes)) {
            std::fprintf(stderr, "cannot write the photos into %s\n", qPrintable(folder));
            return 1;
        }
        std::printf("generated %d photos of %dx%d (%.1f MB, every %d-th without EXIF thumbnail) in %.1f s\n", count,
                    size.width(), size.height(), double(bytes) / 1e6, noExifEvery, double(clock.elapsed()) / 1000.0);
        // Write the photos out now, so the disk's write-back does not compete with the measured runs.
        ::sync();
    } else {
        std::printf("using the photos in %s\n", qPrintable(folder));
    }

    Zyn::AppCreate::PhotoPreview canvas;
    canvas.resize(1280, 800);
    canvas.show();
    auto* loader = Zyn::UiToolkit::ThumbnailLoader::instance();
    loader->clearCache();
    if (parser.isSet(inFlightOption))
        loader->setMaxInFlight(parser.value(inFlightOption).toInt());

    // The watchdog: a 5 ms timer; any longer gap between its ticks is time
    // the GUI thread spent away from the event loop.
    // Each gap is also charged with the CPU time the GUI thread used in it:
    // a long gap with little CPU is the OS not scheduling the thread (a busy
    // machine), a long gap full of CPU is work of ours blocking the loop.
    std::vector<double> gaps;
    std::vector<double> gapCpu;
    gaps.reserve(100000);
    gapCpu.reserve(100000);
    QElapsedTimer tick;
    double tickCpu = threadCpuMs();
    QTimer watchdog;
    watchdog.setTimerType(Qt::PreciseTimer);
    watchdog.setInterval(5);
    QObject::connect(&watchdog, &QTimer::timeout, [&] {
        const double cpu = threadCpuMs();
        gaps.push_back(double(tick.nsecsElapsed()) / 1e6);
        gapCpu.push_back(cpu - tickCpu);
        tick.restart();
        tickCpu = cpu;
    });

    // A user scrolling through the canvas while it fills.
    QTimer scroller;
    scroller.setInterval(120);
    QObject::connect(&scroller, &QTimer::timeout, [&] {
        QScrollBar* bar = canvas.thumbnailView()->verticalScrollBar();
        bar->setValue(bar->value() + bar->pageStep() >= bar->maximum() ? 0 : bar->value() + bar->pageStep());
    });

    int accepted = 0;
    int finished = 0;
    int failed = 0;
    double addMs = 0.0;
    double totalMs = 0.0;
    QElapsedTimer total;
    double guiCpuStart = 0.0;
    double guiCpuMs = 0.0;
    QObject::connect(loader, &Zyn::UiToolkit::ThumbnailLoader::loadFinished, [&](const QString&, bool ok) {
        ++finished;
        failed += ok ? 0 : 1;
    });
    QObject::connect(loader, &Zyn::UiToolkit::ThumbnailLoader::idle, [&] {
        if (accepted > 0 && finished >= accepted && totalMs == 0.0) {
            totalMs = double(total.nsecsElapsed()) / 1e6;
            guiCpuMs = threadCpuMs() - guiCpuStart;
            watchdog.stop();
            scroller.stop();
            QTimer::singleShot(0, &app, &QCoreApplication::quit);
        }
    });
    QTimer::singleShot(50, [&] {
        tick.start();
        total.start();
        guiCpuStart = threadCpuMs();
        QElapsedTimer add;
        add.start();
        accepted = canvas.addFiles({folder}).size();
        addMs = double(add.nsecsElapsed()) / 1e6;
        if (accepted == 0) {
            std::fprintf(stderr, "no photos found in %s\n", qPrintable(folder));
            app.exit(1);
        }
    });
    // A run that never finishes is a failure, not a hang.
    QTimer::singleShot(30 * 60 * 1000, [&] {
        std::fprintf(stderr, "timed out with %d of %d thumbnails ready\n", finished, accepted);
        app.exit(2);
    });
    watchdog.start();
    if (!parser.isSet(noScrollOption))
        scroller.start();
    tick.start();
    const int rc = app.exec();
    if (rc != 0)
        return rc;

    const double maxGap = gaps.empty() ? 0.0 : *std::max_element(gaps.begin(), gaps.end());
    const double maxGapCpu = gapCpu.empty() ? 0.0 : *std::max_element(gapCpu.begin(), gapCpu.end());
    const size_t longest = size_t(std::max_element(gaps.begin(), gaps.end()) - gaps.begin());
    const long over = std::count_if(gaps.begin(), gaps.end(), [](double g) { return g > kStallLimitMs; });
    int ready = 0;
    for (const QString& path : canvas.getFiles())
        ready += canvas.item(path)->state() == Zyn::UiToolkit::IThumbnailItem::Ready ? 1 : 0;

    // The peer: the same thumbnails decoded one after another on one thread.
    const QStringList files = canvas.getFiles();
    QElapsedTimer sequential;
    sequential.start();
    int sequentialOk = 0;
    for (const QString& path : files)
        sequentialOk += Zyn::Utilities::loadThumbnail(path, Zyn::UiToolkit::ThumbnailLoader::thumbnailSize()).isNull() ? 0 : 1;
    const double sequentialMs = double(sequential.nsecsElapsed()) / 1e6;

    // The ceiling: the same decodes on the same worker pool, all queued at
    // once, with no GUI thread in the loop.
    std::atomic<int> parallelOk{0};
    QElapsedTimer parallel;
    parallel.start();
    for (const QString& path : files) {
        KeelCore::dispatchAsync(KeelCore::QosBackground, [path, &parallelOk] {
            if (!Zyn::Utilities::loadThumbnail(path, Zyn::UiToolkit::ThumbnailLoader::thumbnailSize()).isNull())
                ++parallelOk;
        });
    }
    KeelCore::waitForIdle(30 * 60 * 1000);
    const double parallelMs = double(parallel.nsecsElapsed()) / 1e6;

    std::printf("photos accepted:                 %d (%d ready, %d failed)\n", accepted, ready, failed);
    const int workers = std::max(2, QThread::idealThreadCount()); // the host's worker pool size
    std::printf("decode jobs in flight:           %d, on %d workers (%d hardware threads)\n", loader->maxInFlight(),
                workers, QThread::idealThreadCount());
    std::printf("addFiles on the GUI thread:      %.1f ms\n", addMs);
    std::printf("longest GUI-thread stall:        %.1f ms (limit %.0f ms: %s, %.2fx the limit)\n", maxGap, kStallLimitMs,
                maxGap <= kStallLimitMs ? "within" : "OVER", maxGap / kStallLimitMs);
    std::printf("  of which GUI-thread CPU:       %.1f ms\n", gaps.empty() ? 0.0 : gapCpu[longest]);
    std::printf("most GUI-thread CPU in one gap:  %.1f ms (limit %.0f ms: %s)\n", maxGapCpu, kStallLimitMs,
                maxGapCpu <= kStallLimitMs ? "within" : "OVER");
    std::printf("watchdog gaps:                   %zu, p50 %.1f ms, p99 %.1f ms, %ld over the limit\n", gaps.size(),
                percentile(gaps, 0.5), percentile(gaps, 0.99), over);
    std::printf("all thumbnails ready after:      %.0f ms (%.2f ms per photo)\n", totalMs, totalMs / accepted);
    std::printf("GUI-thread CPU while loading:    %.0f ms (%.0f%% of the loading time)\n", guiCpuMs,
                100.0 * guiCpuMs / totalMs);
    std::printf("sequential loadThumbnail peer:   %.0f ms (%d decoded)\n", sequentialMs, sequentialOk);
    std::printf("pool-only parallel peer:         %.0f ms (%d decoded, %.2fx the sequential speed)\n", parallelMs,
                parallelOk.load(), sequentialMs / parallelMs);
    std::printf("canvas vs pool-only:             %.2fx the speed\n", parallelMs / totalMs);
    std::printf("canvas vs sequential:            %.2fx the speed (%.0f%% of the ideal %d-worker speed-up)\n",
                sequentialMs / totalMs, 100.0 * (sequentialMs / totalMs) / workers, workers);
    std::printf("note: the files were just written or read, so both runs read them from the page cache;\n"
                "      wall-clock gaps include time the OS gave other processes (load average now %s)\n",
                qPrintable(loadAverage()));
    return maxGap <= kStallLimitMs && failed == 0 ? 0 : 3;
}
