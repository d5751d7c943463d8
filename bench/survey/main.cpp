// Survey file speed: write and read 10,000 GCPs with 10 markers each, set
// against a bare stream-writer and stream-reader pass over the same
// document in the same run.
#include <gcp/model/SurveyData.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <functional>
#include <time.h>
#include <cstdio>

using namespace Zyn::AppGcp;

namespace {
constexpr int kGcps = 10000;
constexpr int kMarkers = 10;
constexpr int kRepeats = 5;

// The same document with no lookups, checks or records: the floor.
QByteArray bareWrite(const GcpMap& gcps, const MarkerMap& markers, const Zyn::AppCreate::GcpCoordSysInfo& cs)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter xml(&buffer);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement("surveydata");
    xml.writeAttribute("coordinatesystem", cs.code);
    xml.writeAttribute("description", cs.description);
    xml.writeAttribute("epsgcode", cs.epsg);
    xml.writeAttribute("unitcode", QString::number(cs.unit));
    xml.writeAttribute("datumid", cs.datum);
    xml.writeAttribute("type", QString::number(cs.systemType));
    xml.writeStartElement("markers");
    int id = 0;
    for (auto it = gcps.cbegin(); it != gcps.cend(); ++it, ++id) {
        xml.writeStartElement("marker");
        xml.writeAttribute("id", QString::number(id));
        xml.writeAttribute("name", it.key());
        xml.writeStartElement("images");
        for (const GcpMarker& m : markers.value(it.key())) {
            xml.writeStartElement("image");
            xml.writeAttribute("name", m.image.mid(m.image.lastIndexOf('/') + 1));
            xml.writeAttribute("xpixel", QString::number(m.pixel.x()));
            xml.writeAttribute("ypixel", QString::number(m.pixel.y()));
            xml.writeEndElement();
        }
        xml.writeEndElement();
        xml.writeStartElement("gcp");
        xml.writeAttribute("x", QString::number(it->coord1, 'f', 16));
        xml.writeAttribute("y", QString::number(it->coord2, 'f', 16));
        xml.writeAttribute("z", QString::number(it->coord3, 'f', 16));
        xml.writeAttribute("checkpoint", it->checkpoint ? "true" : "false");
        xml.writeEndElement();
        xml.writeEndElement();
    }
    xml.writeEndDocument();
    return bytes;
}

// Tokens and attributes touched, nothing kept.
qint64 bareRead(const QByteArray& bytes)
{
    QXmlStreamReader xml(bytes);
    qint64 attributes = 0;
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement)
            attributes += xml.attributes().size();
    }
    return attributes;
}

// Thread CPU time: on a shared machine wall time mostly measures the
// neighbours; both passes are timed the same way.
double threadMs()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

double best(const std::function<void()>& f)
{
    double bestMs = 1e300;
    for (int i = 0; i < kRepeats; ++i) {
        const double start = threadMs();
        f();
        bestMs = std::min(bestMs, threadMs() - start);
    }
    return bestMs;
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    GcpMap gcps;
    MarkerMap markers;
    for (int i = 0; i < kGcps; ++i) {
        GcpInfo g;
        g.name = QStringLiteral("GCP%1").arg(i);
        g.coord1 = 400000 + i * 1.234567;
        g.coord2 = 5000000 + i * 7.654321;
        g.coord3 = 100 + i % 97;
        g.checkpoint = i % 7 == 0;
        gcps.insert(g.name, g);
        QList<GcpMarker>& list = markers[g.name];
        for (int k = 0; k < kMarkers; ++k) {
            GcpMarker m;
            m.image = QStringLiteral("/data/flight/DJI_%1.JPG").arg(i * kMarkers + k, 6, 10, QLatin1Char('0'));
            m.pixel = QPoint(i % 5472, k * 300);
            list << m;
        }
    }
    // A projected system: no coordinate transform in either pass.
    const Zyn::AppCreate::GcpCoordSysInfo cs("EPSG:32633", "WGS 84 / UTM zone 33N", "32633", 1, "WGS84", 0);

    QByteArray document;
    const double writeMs = best([&] {
        document.clear();
        QBuffer buffer(&document);
        buffer.open(QIODevice::WriteOnly);
        writeSurveyData(&buffer, markers, gcps, cs, false);
    });
    int readCount = 0;
    const double readMs = best([&] {
        QBuffer buffer(&document);
        buffer.open(QIODevice::ReadOnly);
        MarkerMap m;
        GcpList g;
        Zyn::AppCreate::GcpCoordSysInfo c;
        readSurveyData(&buffer, m, g, c);
        readCount = g.size();
    });

    QByteArray bare;
    const double bareWriteMs = best([&] { bare = bareWrite(gcps, markers, cs); });
    qint64 attributes = 0;
    const double bareReadMs = best([&] { attributes = bareRead(document); });

    if (readCount != kGcps || bare != document) {
        std::fprintf(stderr, "mismatch: read %d GCPs, documents %s\n", readCount,
                     bare == document ? "equal" : "differ");
        return 1;
    }
    std::printf("survey file: %d GCPs x %d markers, %.1f MB, best of %d, thread CPU time\n", kGcps, kMarkers,
                document.size() / 1048576.0, kRepeats);
    std::printf("  write %8.1f ms   bare QXmlStreamWriter %8.1f ms   ratio %.2f\n", writeMs, bareWriteMs,
                writeMs / bareWriteMs);
    std::printf("  read  %8.1f ms   bare QXmlStreamReader %8.1f ms   ratio %.2f (%lld attributes)\n", readMs,
                bareReadMs, readMs / bareReadMs, static_cast<long long>(attributes));
    std::printf("  write+read %8.1f ms   bare %8.1f ms   ratio %.2f (target <= 3)\n", writeMs + readMs,
                bareWriteMs + bareReadMs, (writeMs + readMs) / (bareWriteMs + bareReadMs));
    return 0;
}
