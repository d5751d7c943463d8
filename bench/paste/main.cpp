// Paste speed: parse tab-separated rows with a header, set against a bare
// split of the same text into lines and fields in the same run, at 10,000
// and 100,000 rows.
#include <gcp/model/GcpCopyFormatter.h>

#include <utilities/QtCompat.h>

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <time.h>

using namespace Zyn::AppGcp;

namespace {
constexpr int kRepeats = 9;

QString makeText(int rows)
{
    QString text = QStringLiteral("GCP Name\tEasting\tNorthing\tElevation\tCheckpoint\n");
    for (int i = 0; i < rows; ++i) {
        text += QStringLiteral("P%1\t%2\t%3\t%4\t%5\n")
                    .arg(i)
                    .arg(400000 + i * 1.234567, 0, 'f', 4)
                    .arg(5000000 + i * 7.654321, 0, 'f', 4)
                    .arg(100 + (i % 97) * 0.25, 0, 'f', 3)
                    .arg(i % 7 == 0 ? "true" : "false");
    }
    return text;
}

// Thread CPU time: on a shared machine wall time mostly measures the
// neighbours; both passes are timed the same way.
double threadMs()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

double timeOnce(const std::function<void()>& f)
{
    const double start = threadMs();
    f();
    return threadMs() - start;
}

struct Figures {
    double parseMs;
    double splitMs;
};

Figures measure(int rows)
{
    const QString text = makeText(rows);
    int produced = 0;
    const auto parse = [&] {
        GcpCopyFormatter formatter(text);
        GcpList gcps;
        ParseStatus status;
        formatter.parse(gcps, status);
        produced = gcps.size();
    };
    // The bare split keeps its pieces until the end, as the parser keeps
    // its rows, so both pay for building and freeing the same strings.
    qint64 fields = 0;
    const auto split = [&] {
        fields = 0;
        const QStringList lines = text.split(QLatin1Char('\n'), Zyn::Compat::SkipEmptyParts);
        QList<QStringList> rows;
        rows.reserve(lines.size());
        for (const QString& line : lines) {
            rows.append(line.split(QLatin1Char('\t')));
            fields += rows.last().size();
        }
    };
    // Interleaved, best of each: other load on the machine hits both alike.
    double parseMs = 1e300;
    double splitMs = 1e300;
    for (int i = 0; i < kRepeats; ++i) {
        parseMs = std::min(parseMs, timeOnce(parse));
        splitMs = std::min(splitMs, timeOnce(split));
    }
    if (produced != rows || fields != qint64(rows + 1) * 5) {
        std::fprintf(stderr, "mismatch at %d rows: %d records, %lld fields\n", rows, produced,
                     static_cast<long long>(fields));
        std::exit(1);
    }
    std::printf("  %6d rows: parse %8.1f ms   bare split %7.1f ms   ratio %.2f (target <= 5)\n", rows, parseMs,
                splitMs, parseMs / splitMs);
    return {parseMs, splitMs};
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    std::printf("paste: tab-separated rows with a header, best of %d, thread CPU time\n", kRepeats);
    const Figures small = measure(10000);
    const Figures large = measure(100000);
    std::printf("  scaling 10x rows: parse %.2fx time (target <= 12), bare split %.2fx\n",
                large.parseMs / small.parseMs, large.splitMs / small.splitMs);
    return 0;
}
