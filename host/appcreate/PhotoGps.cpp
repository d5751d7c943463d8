#include "PhotoGps.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <utilities/ExifReader.h>

#include <cctype>
#include <cmath>

namespace Zyn {
namespace AppCreate {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("Zyn::AppCreate::PhotoGps", text);
}

// Degrees of a GPS angle; minutes and seconds may be absent when the writer
// put decimal degrees.
bool degreesOf(const Utilities::ExifAngle& angle, double* degrees)
{
    if (angle.count < 1 || !angle.known[0])
        return false;
    *degrees = angle.parts[0] + angle.parts[1] / 60.0 + angle.parts[2] / 3600.0;
    return std::isfinite(*degrees);
}

enum class Stage { Unread, NoExif, Decoded };

// Reads the photo's start (at least firstRead bytes, through its EXIF
// segment) and decodes its EXIF block; the reason when it stops short.
Stage readExif(const QString& path, std::size_t firstRead, QByteArray* head, Utilities::ExifTags* tags, QString* why)
{
    const QFileInfo info(path);
    if (path.isEmpty() || !info.exists() || !info.isFile()) {
        *why = tr("The photo does not exist.");
        return Stage::Unread;
    }
    if (!info.isReadable() || Utilities::readExifHead(path, *head, firstRead) != Utilities::ExifFileStatus::Read) {
        *why = tr("The photo cannot be read.");
        return Stage::Unread;
    }
    if (Utilities::decodeExif(reinterpret_cast<const unsigned char*>(head->constData()), std::size_t(head->size()),
                              *tags)
        != Utilities::ExifStatus::Ok) {
        *why = tr("The photo has no EXIF data.");
        return Stage::NoExif;
    }
    return Stage::Decoded;
}

bool positionOf(const Utilities::ExifTags& tags, PhotoGpsPosition* position, QString* why)
{
    double lat = 0, lon = 0;
    if (!degreesOf(tags.latitude, &lat) || !degreesOf(tags.longitude, &lon)) {
        *why = tr("The photo has no GPS position.");
        return false;
    }
    if (tags.latitude.ref == 'S')
        lat = -lat;
    if (tags.longitude.ref == 'W')
        lon = -lon;
    if (std::fabs(lat) > 90.0 || std::fabs(lon) > 180.0) {
        *why = tr("The photo's GPS position is out of range.");
        return false;
    }
    position->latitude = lat;
    position->longitude = lon;
    position->hasAltitude = tags.altitudeKnown;
    // Reference 1 means below sea level.
    position->altitude = !tags.altitudeKnown ? 0.0 : tags.altitudeRef == 1 ? -tags.altitude : tags.altitude;
    return true;
}

// A number attribute of the XMP packet, in either of its two spellings
// (attribute="1.5" or <ns:Name>1.5</ns:Name>).
double xmpNumber(const QByteArray& xmp, const QByteArray& name)
{
    int at = xmp.indexOf(':' + name);
    while (at >= 0) {
        int i = at + 1 + name.size();
        if (i < xmp.size() && (xmp.at(i) == '=' || xmp.at(i) == '>')) {
            ++i;
            if (i < xmp.size() && (xmp.at(i) == '"' || xmp.at(i) == '\''))
                ++i;
            int end = i;
            while (end < xmp.size() && (std::isdigit(uchar(xmp.at(end))) || xmp.at(end) == '.' || xmp.at(end) == '-'
                                        || xmp.at(end) == '+'))
                ++end;
            bool ok = false;
            const double value = xmp.mid(i, end - i).toDouble(&ok);
            if (ok)
                return value;
        }
        at = xmp.indexOf(':' + name, at + 1);
    }
    return qQNaN();
}

} // namespace

bool readPhotoCameraInfo(const QString& path, PhotoCameraInfo* info, QString* error)
{
    PhotoCameraInfo result;
    QString why;
    QByteArray head;
    Utilities::ExifTags tags;
    // The metadata sits at the start; 256 KiB holds EXIF and XMP of drone photos.
    const Stage stage = readExif(path, 256 * 1024, &head, &tags, &why);
    if (stage == Stage::Decoded) {
        result.hasPosition = positionOf(tags, &result.position, &why);
        result.focalLengthMm = tags.focalLengthMm;
        result.focalLength35mm = double(tags.focalLength35mm);
        if (tags.pixelWidth > 0 && tags.pixelHeight > 0)
            result.pixelSize = QSize(int(tags.pixelWidth), int(tags.pixelHeight));
        const double unitMm = tags.focalPlaneResolutionUnit == 2   ? 25.4
                              : tags.focalPlaneResolutionUnit == 3 ? 10.0
                              : tags.focalPlaneResolutionUnit == 4 ? 1.0
                              : tags.focalPlaneResolutionUnit == 5 ? 0.001
                                                                   : 0.0;
        if (unitMm > 0.0 && tags.focalPlaneXResolution > 0.0 && tags.pixelWidth > 0)
            result.sensorWidthMm = double(tags.pixelWidth) / tags.focalPlaneXResolution * unitMm;
    } else if (stage == Stage::Unread) {
        if (error)
            *error = why;
        return false;
    }
    const int xmpAt = head.indexOf("<x:xmpmeta");
    if (xmpAt >= 0) {
        const QByteArray xmp = head.mid(xmpAt, head.indexOf("</x:xmpmeta>", xmpAt) - xmpAt);
        result.relativeAltitude = xmpNumber(xmp, "RelativeAltitude");
        result.yawDegrees = xmpNumber(xmp, "GimbalYawDegree");
        if (std::isnan(result.yawDegrees))
            result.yawDegrees = xmpNumber(xmp, "FlightYawDegree");
        result.pitchDegrees = xmpNumber(xmp, "GimbalPitchDegree");
    }
    if (info)
        *info = result;
    if (error)
        *error = why;
    return true;
}

bool readPhotoGpsPosition(const QString& path, PhotoGpsPosition* position, QString* error)
{
    QString why;
    QByteArray head;
    Utilities::ExifTags tags;
    PhotoGpsPosition result;
    const bool ok = readExif(path, 64 * 1024, &head, &tags, &why) == Stage::Decoded && positionOf(tags, &result, &why);
    if (ok && position)
        *position = result;
    if (error)
        *error = why;
    return ok;
}

} // namespace AppCreate
} // namespace Zyn
