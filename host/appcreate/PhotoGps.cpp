#include "PhotoGps.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <libexif/exif-data.h>
#include <libexif/exif-utils.h>

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

} // namespace

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
