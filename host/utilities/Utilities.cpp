#include "Utilities.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QLocale>
#include <QTransform>

#include <libexif/exif-data.h>

#include <memory>

namespace Zyn {
namespace Utilities {
namespace {

struct ExifDataUnref {
    void operator()(ExifData* data) const { exif_data_unref(data); }
};
using ExifDataPtr = std::unique_ptr<ExifData, ExifDataUnref>;

// The EXIF orientation (1..8) of the main image; 1 when absent.
int exifOrientation(ExifData* data)
{
    ExifEntry* entry = exif_content_get_entry(data->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
    if (!entry || entry->format != EXIF_FORMAT_SHORT || entry->components < 1 || !entry->data || entry->size < 2)
        return 1;
    const int value = exif_get_short(entry->data, exif_data_get_byte_order(data));
    return (value >= 1 && value <= 8) ? value : 1;
}

// The embedded thumbnail is stored as shot, so it gets the main image's
// orientation applied like the full decode does.
QImage applyOrientation(const QImage& image, int orientation)
{
    QTransform rotation;
    QImage result = image;
    switch (orientation) {
    case 2:
        return image.mirrored(true, false);
    case 3:
        rotation.rotate(180);
        break;
    case 4:
        return image.mirrored(false, true);
    case 5:
        result = image.mirrored(true, false);
        rotation.rotate(270);
        break;
    case 6:
        rotation.rotate(90);
        break;
    case 7:
        result = image.mirrored(true, false);
        rotation.rotate(90);
        break;
    case 8:
        rotation.rotate(270);
        break;
    default:
        return image;
    }
    return result.transformed(rotation);
}

QImage fitInto(const QImage& image, const QSize& maxSize)
{
    if (image.width() <= maxSize.width() && image.height() <= maxSize.height())
        return image;
    return image.scaled(maxSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QImage embeddedThumbnail(const QString& path, const QSize& maxSize, bool anySize)
{
    const QByteArray encoded = QFile::encodeName(path);
    ExifDataPtr data(exif_data_new_from_file(encoded.constData()));
    if (!data || !data->data || data->size == 0)
        return {};
    QImage thumb;
    if (!thumb.loadFromData(data->data, int(data->size)))
        return {};
    thumb = applyOrientation(thumb, exifOrientation(data.get()));
    // Worth using only when it is at least half as wide and high as the
    // thumbnail we would make (a quarter of its area); else it looks blurry.
    const QSize target = thumb.size().scaled(maxSize, Qt::KeepAspectRatio);
    if (!anySize && (thumb.width() * 2 < target.width() || thumb.height() * 2 < target.height()))
        return {};
    return fitInto(thumb, maxSize);
}

QImage scaledDecode(const QString& path, const QSize& maxSize)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize stored = reader.size();
    if (stored.isValid()) {
        // The scaled size applies before the orientation is, so a rotated
        // photo is fitted into the rotated box.
        const bool rotated = reader.transformation() & QImageIOHandler::TransformationRotate90;
        const QSize box = rotated ? maxSize.transposed() : maxSize;
        if (stored.width() > box.width() || stored.height() > box.height())
            reader.setScaledSize(stored.scaled(box, Qt::KeepAspectRatio));
    }
    QImage image = reader.read();
    if (image.isNull())
        return {};
    return fitInto(image, maxSize);
}

} // namespace

QString getListSeparatorForLocale(const QLocale& locale)
{
    const QByteArray forced = qgetenv("ZYN_LIST_SEPARATOR");
    if (!forced.isEmpty()) {
        const QString separator = QString::fromUtf8(forced);
        if (separator.size() == 1)
            return separator;
        qWarning("ZYN_LIST_SEPARATOR must be one character; \"%s\" is ignored", forced.constData());
    }
    return locale.decimalPoint() == QLatin1Char(',') ? QStringLiteral(";") : QStringLiteral(",");
}

QString getListSeparatorInCurrentLocale()
{
    return getListSeparatorForLocale(QLocale::system());
}

QString getElidedText(const QString& text, int maxChars)
{
    if (maxChars <= 0)
        return {};
    if (text.size() <= maxChars)
        return text;
    const QString dots = QStringLiteral("...");
    if (maxChars <= dots.size())
        return dots.left(maxChars);
    int keep = maxChars - dots.size();
    // Never cut a character made of two UTF-16 units in half.
    if (keep > 0 && text.at(keep - 1).isHighSurrogate())
        --keep;
    return text.left(keep) + dots;
}

QImage loadImage(const QString& path)
{
    if (path.isEmpty())
        return {};
    QImageReader reader(path);
    reader.setAutoTransform(true);
    return reader.read();
}

namespace {

// The embedded thumbnail (of any size, or only one big enough to look sharp),
// else a scaled decode.
QImage thumbnailOrDecode(const QString& path, const QSize& maxSize, bool anySize)
{
    if (path.isEmpty())
        return {};
    if (!maxSize.isValid() || maxSize.isEmpty())
        return loadImage(path);
    QImage thumb = embeddedThumbnail(path, maxSize, anySize);
    // The embedded thumbnail sits before the photo's own image in the file:
    // a file cut short after it is still no photo.
    if (!thumb.isNull() && !QImageReader(path).size().isValid())
        return {};
    if (thumb.isNull())
        thumb = scaledDecode(path, maxSize);
    return thumb;
}

} // namespace

QImage loadThumbnail(const QString& path, const QSize& maxSize)
{
    return thumbnailOrDecode(path, maxSize, false);
}

QImage loadPreview(const QString& path, const QSize& maxSize)
{
    return thumbnailOrDecode(path, maxSize, true);
}

QString dataDirectory()
{
    const QString forced = qEnvironmentVariable("ZYN_DATA_PATH");
    if (!forced.isEmpty())
        return QDir::cleanPath(forced);
    if (!QCoreApplication::instance())
        return QDir::cleanPath(QDir::current().filePath(QStringLiteral("../share/zynphoto")));
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/zynphoto"));
}

void setupApplicationIdentity()
{
    QCoreApplication::setOrganizationName(QStringLiteral("ZynPhoto"));
    QCoreApplication::setApplicationName(QStringLiteral("zynphoto"));
}

int naturalCompare(const QString& a, const QString& b)
{
    int i = 0;
    int j = 0;
    while (i < a.size() && j < b.size()) {
        if (a.at(i).isDigit() && b.at(j).isDigit()) {
            // Compare digit runs by value: skip leading zeros, then length, then digits.
            int si = i, sj = j;
            while (si < a.size() && a.at(si) == QLatin1Char('0'))
                ++si;
            while (sj < b.size() && b.at(sj) == QLatin1Char('0'))
                ++sj;
            int ei = si, ej = sj;
            while (ei < a.size() && a.at(ei).isDigit())
                ++ei;
            while (ej < b.size() && b.at(ej).isDigit())
                ++ej;
            if (ei - si != ej - sj)
                return (ei - si) < (ej - sj) ? -1 : 1;
            for (int k = 0; k < ei - si; ++k) {
                const int d = a.at(si + k).unicode() - b.at(sj + k).unicode();
                if (d != 0)
                    return d < 0 ? -1 : 1;
            }
            // Equal values: fewer leading zeros first, so the order is total.
            if ((si - i) != (sj - j))
                return (si - i) < (sj - j) ? -1 : 1;
            i = ei;
            j = ej;
            continue;
        }
        const QChar ca = a.at(i).toCaseFolded();
        const QChar cb = b.at(j).toCaseFolded();
        if (ca != cb)
            return ca.unicode() < cb.unicode() ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size() || j < b.size())
        return i < a.size() ? 1 : -1;
    return 0;
}

} // namespace Utilities
} // namespace Zyn
