#include <create/PhotoGpsReader.h>

#include <utilities/ExifReader.h>

#include <QString>

#include <cstdio>

namespace Zyn {
namespace AppCreate {

namespace {

// Missing or unknown parts count as zero; an angle stored with fewer than
// three rationals is not read at all.
ExifGpsComponents componentsOf(const Utilities::ExifAngle& angle)
{
    ExifGpsComponents c;
    if (angle.count >= 3) {
        c.degrees = angle.parts[0];
        c.minutes = angle.parts[1];
        c.seconds = angle.parts[2];
    }
    c.direction = angle.ref;
    return c;
}

double toDecimal(const ExifGpsComponents& c, char negativeRef)
{
    const double v = c.degrees + c.minutes / 60.0 + c.seconds / 3600.0;
    return c.direction == negativeRef ? -v : v;
}

} // namespace

int parseExifGps(const unsigned char* data, std::size_t size, ExifGpsRecord& out)
{
    out = ExifGpsRecord();
    Utilities::ExifTags tags;
    const Utilities::ExifStatus status = Utilities::decodeExif(data, size, tags);
    if (status != Utilities::ExifStatus::Ok)
        return int(status);

    out.LatComponents = componentsOf(tags.latitude);
    out.LonComponents = componentsOf(tags.longitude);
    out.Latitude = toDecimal(out.LatComponents, 'S');
    out.Longitude = toDecimal(out.LonComponents, 'W');
    out.AltitudeRef = char(tags.altitudeRef);
    out.Altitude = tags.altitudeKnown ? tags.altitude : 0.0;
    if (out.AltitudeRef == 1)
        out.Altitude = -out.Altitude;
    out.DOP = tags.dop;
    return ExifParseSuccess;
}

bool readExifFromFile(const std::wstring& path, ExifGpsRecord& out)
{
    QByteArray head;
    switch (Utilities::readExifHead(QString::fromStdWString(path), head)) {
    case Utilities::ExifFileStatus::Missing:
        return false;
    case Utilities::ExifFileStatus::NotOpened:
        std::fputs("Can't open file.\n", stdout);
        return false;
    case Utilities::ExifFileStatus::ReadFailed:
        std::fputs("Can't read file.\n", stdout);
        return false;
    case Utilities::ExifFileStatus::Read:
        break;
    }
    return parseExifGps(reinterpret_cast<const unsigned char*>(head.constData()), std::size_t(head.size()), out)
           == ExifParseSuccess;
}

bool readPhotoGpsPosition(const std::wstring& path, double& lon, double& lat, double& alt)
{
    ExifGpsRecord record;
    if (!readExifFromFile(path, record))
        return false;

    // A photo without a GPS block parses with every field zero; one really
    // taken at 0 N 0 E at sea level without a DOP is treated the same.
    if (record.Latitude == 0.0 && record.Longitude == 0.0 && record.Altitude == 0.0
        && record.AltitudeRef == 0 && record.DOP == 0.0)
        return false;

    lat = record.Latitude;
    lon = record.Longitude;
    alt = record.Altitude;
    return true;
}

} // namespace AppCreate
} // namespace Zyn
