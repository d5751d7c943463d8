#include "SurveyData.h"

#include <QFileInfo>
#include <QIODevice>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <gis/Gis.h>

#include <cmath>
#include <limits>

namespace Zyn {
namespace AppGcp {

namespace {

// XML 1.0 cannot hold control characters (other than tab and line ends) nor
// lone surrogates; written raw they make the whole file unreadable. Such a
// character becomes U+FFFD, so the rest of the survey survives.
QString xmlText(const QString& text)
{
    QString out = text;
    for (int i = 0; i < out.size(); ++i) {
        const ushort u = out.at(i).unicode();
        const bool control = u < 0x20 && u != '\t' && u != '\n' && u != '\r';
        const bool noChar = u == 0xFFFE || u == 0xFFFF;
        bool loneSurrogate = false;
        if (out.at(i).isHighSurrogate())
            loneSurrogate = i + 1 >= out.size() || !out.at(i + 1).isLowSurrogate();
        else if (out.at(i).isLowSurrogate())
            loneSurrogate = i == 0 || !out.at(i - 1).isHighSurrogate();
        if (control || noChar || loneSurrogate)
            out[i] = QChar(0xFFFD);
    }
    return out;
}

QString fixed16(double value)
{
    return QString::number(value, 'f', 16);
}

// Attribute lookup without regard to case; a null string when absent.
QStringRef attribute(const QXmlStreamAttributes& attributes, QLatin1String name)
{
    for (const QXmlStreamAttribute& a : attributes) {
        if (a.name().compare(name, Qt::CaseInsensitive) == 0)
            return a.value();
    }
    return QStringRef();
}

bool isNamed(const QXmlStreamReader& xml, QLatin1String name)
{
    return xml.name().compare(name, Qt::CaseInsensitive) == 0;
}

int toIntOrZero(const QStringRef& text)
{
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    return ok ? value : 0;
}

// Unreadable and non-finite text reads as 0, so no record ever carries a
// NaN into the views.
double toFiniteDouble(const QStringRef& text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    return ok && std::isfinite(value) ? value : 0.0;
}

// Truncated toward zero and clamped to the int range: a pixel value from a
// hand-edited file must not overflow the conversion.
int toPixel(const QStringRef& text)
{
    const double value = std::trunc(toFiniteDouble(text));
    if (value >= static_cast<double>(std::numeric_limits<int>::max()))
        return std::numeric_limits<int>::max();
    if (value <= static_cast<double>(std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

bool readNextStart(QXmlStreamReader& xml)
{
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement)
            return true;
    }
    return false;
}

} // namespace

void writeSurveyData(QIODevice* device, const MarkerMap& markersByName, const GcpMap& gcps,
                     const AppCreate::GcpCoordSysInfo& coordSys, bool inLL84)
{
    QXmlStreamWriter xml(device);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("surveydata"));

    if (coordSys.code.isEmpty()) {
        xml.writeAttribute(QStringLiteral("coordinatesystem"), QString());
        xml.writeAttribute(QStringLiteral("description"), QString());
        xml.writeAttribute(QStringLiteral("epsgcode"), QString());
        xml.writeAttribute(QStringLiteral("unitcode"), QStringLiteral("-1"));
        xml.writeAttribute(QStringLiteral("datumid"), QString());
        xml.writeAttribute(QStringLiteral("type"), QStringLiteral("-1"));
    } else {
        xml.writeAttribute(QStringLiteral("coordinatesystem"), inLL84 ? QStringLiteral("LL84") : coordSys.code);
        xml.writeAttribute(QStringLiteral("description"), xmlText(coordSys.description));
        xml.writeAttribute(QStringLiteral("epsgcode"), coordSys.epsg);
        xml.writeAttribute(QStringLiteral("unitcode"), QString::number(coordSys.unit));
        xml.writeAttribute(QStringLiteral("datumid"), coordSys.datum);
        xml.writeAttribute(QStringLiteral("type"), QString::number(coordSys.systemType));
    }

    // Named after the caller's system even in the LL84 form; readers accept
    // both spellings.
    const bool geographic = !coordSys.code.isEmpty() && Tarn::GIS::isPolarCS(coordSys.code);
    const QString names[3] = {geographic ? QStringLiteral("long") : QStringLiteral("x"),
                              geographic ? QStringLiteral("lat") : QStringLiteral("y"),
                              geographic ? QStringLiteral("alt") : QStringLiteral("z")};
    const QString imageTag = QStringLiteral("image");
    const QString nameTag = QStringLiteral("name");
    const QString xTag = QStringLiteral("xpixel");
    const QString yTag = QStringLiteral("ypixel");

    xml.writeStartElement(QStringLiteral("markers"));
    int counter = 0;
    for (auto it = gcps.constBegin(); it != gcps.constEnd(); ++it, ++counter) {
        const GcpInfo& gcp = it.value();
        xml.writeStartElement(QStringLiteral("marker"));
        xml.writeAttribute(QStringLiteral("id"), QString::number(counter));
        xml.writeAttribute(nameTag, xmlText(gcp.name));

        xml.writeStartElement(QStringLiteral("images"));
        const auto markers = markersByName.constFind(gcp.name);
        if (markers != markersByName.constEnd()) {
            for (const GcpMarker& marker : markers.value()) {
                xml.writeStartElement(imageTag);
                xml.writeAttribute(nameTag, xmlText(QFileInfo(marker.image).fileName()));
                xml.writeAttribute(xTag, QString::number(marker.pixel.x()));
                xml.writeAttribute(yTag, QString::number(marker.pixel.y()));
                xml.writeEndElement();
            }
        }
        xml.writeEndElement(); // images

        double c1 = gcp.coord1;
        double c2 = gcp.coord2;
        double c3 = gcp.coord3;
        if (inLL84)
            Tarn::GIS::transformCoordToLL84(coordSys.code, c1, c2, c3);

        xml.writeStartElement(QStringLiteral("gcp"));
        xml.writeAttribute(names[0], fixed16(c1));
        xml.writeAttribute(names[1], fixed16(c2));
        xml.writeAttribute(names[2], fixed16(c3));
        xml.writeAttribute(QStringLiteral("checkpoint"), gcp.checkpoint ? QStringLiteral("true") : QStringLiteral("false"));
        xml.writeEndElement(); // gcp
        xml.writeEndElement(); // marker
    }
    xml.writeEndElement(); // markers
    xml.writeEndElement(); // surveydata
    xml.writeEndDocument();
}

bool readSurveyData(QIODevice* device, MarkerMap& markers, GcpList& gcps, AppCreate::GcpCoordSysInfo& coordSys)
{
    if (!device)
        return true;
    QXmlStreamReader xml(device);

    if (!readNextStart(xml))
        return true;
    if (isNamed(xml, QLatin1String("surveydata"))) {
        const QXmlStreamAttributes attributes = xml.attributes();
        for (const QXmlStreamAttribute& a : attributes) {
            const QStringRef name = a.name();
            if (name.compare(QLatin1String("coordinatesystem"), Qt::CaseInsensitive) == 0)
                coordSys.code = a.value().toString();
            else if (name.compare(QLatin1String("description"), Qt::CaseInsensitive) == 0)
                coordSys.description = a.value().toString();
            else if (name.compare(QLatin1String("epsgcode"), Qt::CaseInsensitive) == 0)
                coordSys.epsg = a.value().toString();
            else if (name.compare(QLatin1String("datumid"), Qt::CaseInsensitive) == 0)
                coordSys.datum = a.value().toString();
            else if (name.compare(QLatin1String("unitcode"), Qt::CaseInsensitive) == 0)
                coordSys.unit = toIntOrZero(a.value());
            else if (name.compare(QLatin1String("type"), Qt::CaseInsensitive) == 0)
                coordSys.systemType = toIntOrZero(a.value());
        }
    }

    if (!readNextStart(xml) || !isNamed(xml, QLatin1String("markers")))
        return true;

    // Depth below <markers>; its end element at depth 0 ends the list.
    int depth = 0;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) {
            if (depth == 0)
                break;
            --depth;
            continue;
        }
        if (token != QXmlStreamReader::StartElement)
            continue;
        if (!isNamed(xml, QLatin1String("marker"))) {
            // Foreign elements are walked into, so markers nested in them
            // are still found.
            ++depth;
            continue;
        }

        GcpInfo gcp;
        gcp.name = attribute(xml.attributes(), QLatin1String("name")).toString();
        QList<GcpMarker> images;
        bool gcpRead = false;

        // readNextStartElement answers false at the first end element, so
        // each step below stays inside the marker element.
        if (xml.readNextStartElement()) {
            if (isNamed(xml, QLatin1String("images"))) {
                while (xml.readNextStartElement()) {
                    if (isNamed(xml, QLatin1String("image"))) {
                        const QXmlStreamAttributes attributes = xml.attributes();
                        GcpMarker marker;
                        marker.image = attribute(attributes, QLatin1String("name")).toString();
                        marker.pixel = QPoint(toPixel(attribute(attributes, QLatin1String("xpixel"))),
                                              toPixel(attribute(attributes, QLatin1String("ypixel"))));
                        images.append(marker);
                    }
                    xml.skipCurrentElement();
                }
            } else {
                // Anything but <images> first is stepped over unread.
                xml.skipCurrentElement();
            }
            if (xml.readNextStartElement()) {
                if (isNamed(xml, QLatin1String("gcp"))) {
                    const QXmlStreamAttributes attributes = xml.attributes();
                    for (const QXmlStreamAttribute& a : attributes) {
                        const QStringRef name = a.name();
                        if (name.compare(QLatin1String("x"), Qt::CaseInsensitive) == 0
                            || name.compare(QLatin1String("long"), Qt::CaseInsensitive) == 0)
                            gcp.coord1 = toFiniteDouble(a.value());
                        else if (name.compare(QLatin1String("y"), Qt::CaseInsensitive) == 0
                                 || name.compare(QLatin1String("lat"), Qt::CaseInsensitive) == 0)
                            gcp.coord2 = toFiniteDouble(a.value());
                        else if (name.compare(QLatin1String("z"), Qt::CaseInsensitive) == 0
                                 || name.compare(QLatin1String("alt"), Qt::CaseInsensitive) == 0)
                            gcp.coord3 = toFiniteDouble(a.value());
                        else if (name.compare(QLatin1String("checkpoint"), Qt::CaseInsensitive) == 0)
                            gcp.checkpoint = a.value() == QLatin1String("true");
                    }
                    gcpRead = !xml.hasError();
                }
                xml.skipCurrentElement(); // to the child's end
                xml.skipCurrentElement(); // to the marker's end
            }
        }

        // A marker cut short by a broken document is kept only when its
        // coordinates were read; its half-read photo list goes with it.
        if (xml.hasError() && !gcpRead)
            break;
        if (!images.isEmpty())
            markers[gcp.id] += images;
        gcps.append(gcp);
        if (xml.hasError())
            break;
    }
    return true;
}

} // namespace AppGcp
} // namespace Zyn
