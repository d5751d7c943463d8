#include "PhotoGps.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <libexif/exif-data.h>
#include <libexif/exif-utils.h>

#include <cctype>
#include <cmath>
#include <memory>

namespace Zyn {
namespace AppCreate {

namespace {

struct ExifDataDeleter {
    void operator()(ExifData* d) const { exif_data_unref(d); }
};

QString tr(const char* text)
{
    return QCoreApplication::translate("Zyn::AppCreate::PhotoGps", text);
}

// GPS tags share numbers with tags of other IFDs, so look only in the GPS IFD.
ExifEntry* gpsEntry(ExifData* data, int tag)
{
    ExifContent* gps = data->ifd[EXIF_IFD_GPS];
    return gps ? exif_content_get_entry(gps, static_cast<ExifTag>(tag)) : nullptr;
}

bool rationalAt(ExifData* data, ExifEntry* e, unsigned int index, double* value)
{
    if (!e || e->format != EXIF_FORMAT_RATIONAL || index >= e->components || !e->data
        || e->size < (index + 1) * 8)
        return false;
    const ExifRational r = exif_get_rational(e->data + index * 8, exif_data_get_byte_order(data));
    if (r.denominator == 0)
        return false;
    *value = double(r.numerator) / double(r.denominator);
    return true;
}

bool degreesOf(ExifData* data, ExifEntry* e, double* degrees)
{
    double d = 0, m = 0, s = 0;
    if (!rationalAt(data, e, 0, &d))
        return false;
    // Minutes and seconds may be absent when the writer put decimal degrees.
    rationalAt(data, e, 1, &m);
    rationalAt(data, e, 2, &s);
    *degrees = d + m / 60.0 + s / 3600.0;
    return std::isfinite(*degrees);
}

char refOf(ExifEntry* e)
{
    if (!e || !e->data || e->size < 1)
        return 0;
    return char(e->data[0]);
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

ExifEntry* anyEntry(ExifData* data, ExifTag tag)
{
    for (int ifd : {EXIF_IFD_EXIF, EXIF_IFD_0}) {
        if (ExifContent* c = data->ifd[ifd])
            if (ExifEntry* e = exif_content_get_entry(c, tag))
                return e;
    }
    return nullptr;
}

qint64 integerOf(ExifData* data, ExifEntry* e)
{
    if (!e || !e->data)
        return 0;
    const ExifByteOrder order = exif_data_get_byte_order(data);
    switch (e->format) {
    case EXIF_FORMAT_SHORT:
        return e->size >= 2 ? exif_get_short(e->data, order) : 0;
    case EXIF_FORMAT_LONG:
        return e->size >= 4 ? exif_get_long(e->data, order) : 0;
    default:
        return 0;
    }
}

} // namespace

bool readPhotoCameraInfo(const QString& path, PhotoCameraInfo* info, QString* error)
{
    PhotoCameraInfo result;
    QString why;
    result.hasPosition = readPhotoGpsPosition(path, &result.position, &why);
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = why.isEmpty() ? tr("The photo cannot be read.") : why;
        return false;
    }
    // The metadata sits at the start; 256 KiB holds EXIF and XMP of drone photos.
    const QByteArray head = file.read(256 * 1024);
    std::unique_ptr<ExifData, ExifDataDeleter> data(
        exif_data_new_from_data(reinterpret_cast<const unsigned char*>(head.constData()), unsigned(head.size())));
    if (data) {
        ExifData* d = data.get();
        double focal = 0;
        if (rationalAt(d, anyEntry(d, EXIF_TAG_FOCAL_LENGTH), 0, &focal))
            result.focalLengthMm = focal;
        result.focalLength35mm = double(integerOf(d, anyEntry(d, EXIF_TAG_FOCAL_LENGTH_IN_35MM_FILM)));
        const qint64 w = integerOf(d, anyEntry(d, EXIF_TAG_PIXEL_X_DIMENSION));
        const qint64 h = integerOf(d, anyEntry(d, EXIF_TAG_PIXEL_Y_DIMENSION));
        if (w > 0 && h > 0)
            result.pixelSize = QSize(int(w), int(h));
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
    auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    const QFileInfo info(path);
    if (path.isEmpty() || !info.exists() || !info.isFile())
        return fail(tr("The photo does not exist."));
    if (!info.isReadable())
        return fail(tr("The photo cannot be read."));

    std::unique_ptr<ExifData, ExifDataDeleter> data(exif_data_new_from_file(QFile::encodeName(path).constData()));
    if (!data)
        return fail(tr("The photo has no EXIF data."));

    ExifData* d = data.get();
    double lat = 0, lon = 0;
    if (!degreesOf(d, gpsEntry(d, EXIF_TAG_GPS_LATITUDE), &lat) || !degreesOf(d, gpsEntry(d, EXIF_TAG_GPS_LONGITUDE), &lon))
        return fail(tr("The photo has no GPS position."));
    if (refOf(gpsEntry(d, EXIF_TAG_GPS_LATITUDE_REF)) == 'S')
        lat = -lat;
    if (refOf(gpsEntry(d, EXIF_TAG_GPS_LONGITUDE_REF)) == 'W')
        lon = -lon;
    if (std::fabs(lat) > 90.0 || std::fabs(lon) > 180.0)
        return fail(tr("The photo's GPS position is out of range."));

    PhotoGpsPosition result;
    result.latitude = lat;
    result.longitude = lon;
    double alt = 0;
    if (rationalAt(d, gpsEntry(d, EXIF_TAG_GPS_ALTITUDE), 0, &alt)) {
        ExifEntry* ref = gpsEntry(d, EXIF_TAG_GPS_ALTITUDE_REF);
        // Reference 1 means below sea level.
        if (ref && ref->data && ref->size >= 1 && ref->data[0] == 1)
            alt = -alt;
        result.altitude = alt;
        result.hasAltitude = true;
    }
    if (position)
        *position = result;
    if (error)
        error->clear();
    return true;
}

} // namespace AppCreate
} // namespace Zyn
