// GPS check speed: photos per second of the create view's GPS check over a
// generated survey, against a bare whole-file read of the same bytes and
// against exiftool, with the page cache warm and then dropped.
//
//   bench_gpscheck [--dir DIR] [--count N] [--size-mb MB] [--width W --height H]
//
// Without --dir the photos are generated (once) under the build tree.

#include <create/PhotoGpsReader.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <libexif/exif-data.h>

#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct Set
{
    QStringList files;
    std::vector<std::wstring> wide;
    qint64 bytes = 0;
};

// "rb", seek for the size, one buffer, one unbuffered fread: the reader's I/O.
std::unique_ptr<unsigned char[]> readWholeFile(const std::string& path, long& size)
{
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return nullptr;
    std::setvbuf(f, nullptr, _IONBF, 0);
    std::fseek(f, 0, SEEK_END);
    size = std::ftell(f);
    std::fseek(f, 0, SEEK_SET);
    std::unique_ptr<unsigned char[]> buf(new unsigned char[size > 0 ? size : 1]);
    const bool ok = std::fread(buf.get(), 1, std::size_t(size), f) == std::size_t(size);
    std::fclose(f);
    return ok ? std::move(buf) : nullptr;
}

// The same I/O as the reader (stat, then the whole-file read) without any
// parsing: the floor the GPS check cannot beat.
bool bareRead(const std::string& path, volatile unsigned char& sink)
{
    struct stat st;
    if (::stat(path.c_str(), &st) != 0)
        return false;
    long size = 0;
    const std::unique_ptr<unsigned char[]> buf = readWholeFile(path, size);
    if (buf && size > 0)
        sink = buf[std::size_t(size) - 1];
    return buf != nullptr;
}

// Handing libexif the whole file and letting it find the segment itself.
bool libexifScan(const std::string& path)
{
    long size = 0;
    const std::unique_ptr<unsigned char[]> buf = readWholeFile(path, size);
    if (!buf)
        return false;
    ExifData* d = exif_data_new_from_data(buf.get(), unsigned(size));
    const bool gps = d && d->ifd[EXIF_IFD_GPS]->count > 0;
    exif_data_unref(d);
    return gps;
}

double fractionResident(const Set& set)
{
    const long page = ::sysconf(_SC_PAGESIZE);
    qint64 resident = 0, total = 0;
    for (const QString& file : set.files) {
        const int fd = ::open(QFile::encodeName(file).constData(), O_RDONLY);
        if (fd < 0)
            continue;
        struct stat st;
        ::fstat(fd, &st);
        if (st.st_size > 0) {
            void* map = ::mmap(nullptr, std::size_t(st.st_size), PROT_READ, MAP_SHARED, fd, 0);
            if (map != MAP_FAILED) {
                const std::size_t pages = std::size_t((st.st_size + page - 1) / page);
                std::vector<unsigned char> vec(pages);
                if (::mincore(map, std::size_t(st.st_size), vec.data()) == 0) {
                    for (unsigned char v : vec)
                        resident += v & 1;
                    total += qint64(pages);
                }
                ::munmap(map, std::size_t(st.st_size));
            }
        }
        ::close(fd);
    }
    return total ? double(resident) / double(total) : 0.0;
}

// Empties the page cache of the set: the global drop when we may, the
// per-file advice otherwise. Returns the method that left the files cold.
QString dropCache(const Set& set)
{
    ::sync();
    {
        QFile drop(QStringLiteral("/proc/sys/vm/drop_caches"));
        if (drop.open(QIODevice::WriteOnly) && drop.write("3\n") == 2) {
            drop.close();
            if (fractionResident(set) < 0.05)
                return QStringLiteral("drop_caches");
        }
    }
    for (const QString& file : set.files) {
        const int fd = ::open(QFile::encodeName(file).constData(), O_RDONLY);
        if (fd < 0)
            continue;
        ::fdatasync(fd);
        ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
        ::close(fd);
    }
    if (fractionResident(set) < 0.05)
        return QStringLiteral("posix_fadvise DONTNEED");
    return QString();
}

void warm(const Set& set)
{
    volatile unsigned char sink = 0;
    for (const QString& f : set.files)
        bareRead(QFile::encodeName(f).toStdString(), sink);
}

struct Figure
{
    double seconds = 0;
    int ok = 0;
};

Figure timeEach(const Set& set, const std::function<bool(int)>& one)
{
    QElapsedTimer t;
    t.start();
    Figure f;
    for (int i = 0; i < set.files.size(); ++i)
        f.ok += one(i) ? 1 : 0;
    f.seconds = t.nsecsElapsed() / 1e9;
    return f;
}

Figure timeExiftool(const Set& set, const QString& exiftool)
{
    Figure f;
    if (exiftool.isEmpty())
        return f;
    QStringList args{QStringLiteral("-n"), QStringLiteral("-GPSLatitude"), QStringLiteral("-GPSLongitude"),
                     QStringLiteral("-GPSAltitude")};
    args += set.files;
    QProcess p;
    QElapsedTimer t;
    t.start();
    p.start(exiftool, args);
    p.waitForFinished(-1);
    f.seconds = t.nsecsElapsed() / 1e9;
    f.ok = QString::fromUtf8(p.readAllStandardOutput()).count(QStringLiteral("GPS Latitude"));
    return f;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption dirOpt(QStringLiteral("dir"), QStringLiteral("Photo folder (generated when absent)."), QStringLiteral("DIR"));
    const QCommandLineOption countOpt(QStringLiteral("count"), QStringLiteral("Photos (default 500)."), QStringLiteral("N"), QStringLiteral("500"));
    const QCommandLineOption sizeOpt(QStringLiteral("size-mb"), QStringLiteral("Photo size (default 5)."), QStringLiteral("MB"), QStringLiteral("5"));
    const QCommandLineOption widthOpt(QStringLiteral("width"), QStringLiteral("Width (default 5472)."), QStringLiteral("W"), QStringLiteral("5472"));
    const QCommandLineOption heightOpt(QStringLiteral("height"), QStringLiteral("Height (default 3648)."), QStringLiteral("H"), QStringLiteral("3648"));
    parser.addOptions({dirOpt, countOpt, sizeOpt, widthOpt, heightOpt});
    parser.process(app);

    const int count = parser.value(countOpt).toInt();
    QString dir = parser.value(dirOpt);
    if (dir.isEmpty())
        dir = QDir(QCoreApplication::applicationDirPath())
                  .filePath(QStringLiteral("../bench-data/gpscheck-%1-%2x%3-%4mb")
                                .arg(count).arg(parser.value(widthOpt), parser.value(heightOpt), parser.value(sizeOpt)));
    if (!QFile::exists(QDir(dir).filePath(QStringLiteral("manifest.csv")))) {
        const QString tool = QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("make_drone_photos"));
        std::printf("generating %d photos in %s ...\n", count, qPrintable(dir));
        std::fflush(stdout);
        QProcess gen;
        gen.setProcessChannelMode(QProcess::ForwardedChannels);
        gen.start(tool, {QStringLiteral("--out"), dir, QStringLiteral("--count"), QString::number(count),
                         QStringLiteral("--lat"), QStringLiteral("46.52"), QStringLiteral("--lon"), QStringLiteral("6.63"),
                         QStringLiteral("--alt"), QStringLiteral("480"), QStringLiteral("--agl"), QStringLiteral("100"),
                         QStringLiteral("--width"), parser.value(widthOpt), QStringLiteral("--height"), parser.value(heightOpt),
                         QStringLiteral("--size-mb"), parser.value(sizeOpt)});
        if (!gen.waitForFinished(-1) || gen.exitCode() != 0) {
            std::fprintf(stderr, "generation failed\n");
            return 1;
        }
    }

    Set set;
    for (const QFileInfo& fi : QDir(dir).entryInfoList({QStringLiteral("*.JPG")}, QDir::Files, QDir::Name)) {
        set.files << fi.absoluteFilePath();
        set.wide.push_back(fi.absoluteFilePath().toStdWString());
        set.bytes += fi.size();
    }
    if (set.files.isEmpty()) {
        std::fprintf(stderr, "no photos in %s\n", qPrintable(dir));
        return 1;
    }
    std::vector<std::string> narrow;
    for (const QString& f : set.files)
        narrow.push_back(QFile::encodeName(f).toStdString());
    const QString exiftool = QStandardPaths::findExecutable(QStringLiteral("exiftool"));
    const int n = set.files.size();
    std::printf("%d photos, %.2f MB each on average, %.2f GB in all\n", n, set.bytes / double(n) / 1048576.0,
                set.bytes / 1073741824.0);

    volatile unsigned char sink = 0;
    auto bare = [&](int i) { return bareRead(narrow[std::size_t(i)], sink); };
    auto check = [&](int i) {
        double lon, lat, alt;
        return Zyn::AppCreate::readPhotoGpsPosition(set.wide[std::size_t(i)], lon, lat, alt);
    };
    auto scan = [&](int i) { return libexifScan(narrow[std::size_t(i)]); };

    auto report = [&](const char* what, const Figure& f, const Figure& floor) {
        const double rate = f.seconds > 0 ? n / f.seconds : 0;
        std::printf("  %-34s %9.1f photos/s  %7.1f MB/s  %6.3f s  ok %d/%d", what, rate,
                    set.bytes / 1048576.0 / f.seconds, f.seconds, f.ok, n);
        if (&f != &floor)
            std::printf("  %.2fx the bare read's time", f.seconds / floor.seconds);
        std::printf("\n");
    };

    // Warm cache: best of three rounds for the in-process readers.
    warm(set);
    std::printf("\nwarm page cache (%.0f%% of the photos resident)\n", fractionResident(set) * 100);
    Figure wBare, wCheck, wScan;
    for (int round = 0; round < 3; ++round) {
        const Figure b = timeEach(set, bare), c = timeEach(set, check), s = timeEach(set, scan);
        if (round == 0 || b.seconds < wBare.seconds)
            wBare = b;
        if (round == 0 || c.seconds < wCheck.seconds)
            wCheck = c;
        if (round == 0 || s.seconds < wScan.seconds)
            wScan = s;
    }
    const Figure wTool = timeExiftool(set, exiftool);
    report("bare read (stat+fread)", wBare, wBare);
    report("GPS check (readPhotoGpsPosition)", wCheck, wBare);
    report("whole file to libexif (its scan)", wScan, wBare);
    if (!exiftool.isEmpty()) {
        report("exiftool -n -GPSLatitude ...", wTool, wBare);
        std::printf("  GPS check is %.1fx faster than exiftool\n", wTool.seconds / wCheck.seconds);
    } else {
        std::printf("  exiftool not installed: no peer figure\n");
    }

    // Cold cache: drop before every measurement.
    std::printf("\ncold page cache\n");
    QString method = dropCache(set);
    if (method.isEmpty()) {
        std::printf("  could not evict the photos from the page cache (%.0f%% still resident); no cold figures\n",
                    fractionResident(set) * 100);
        return 0;
    }
    std::printf("  evicted with %s (%.1f%% resident after)\n", qPrintable(method), fractionResident(set) * 100);
    const Figure cBare = timeEach(set, bare);
    dropCache(set);
    const Figure cCheck = timeEach(set, check);
    dropCache(set);
    const Figure cScan = timeEach(set, scan);
    Figure cTool;
    if (!exiftool.isEmpty()) {
        dropCache(set);
        cTool = timeExiftool(set, exiftool);
    }
    report("bare read (stat+fread)", cBare, cBare);
    report("GPS check (readPhotoGpsPosition)", cCheck, cBare);
    report("whole file to libexif (its scan)", cScan, cBare);
    if (!exiftool.isEmpty()) {
        report("exiftool -n -GPSLatitude ...", cTool, cBare);
        std::printf("  GPS check is %.1fx faster than exiftool\n", cTool.seconds / cCheck.seconds);
    }
    std::printf("\ntarget: GPS check within 1.30x of the bare read: warm %.2fx, cold %.2fx\n",
                wCheck.seconds / wBare.seconds, cCheck.seconds / cBare.seconds);
    return 0;
}
