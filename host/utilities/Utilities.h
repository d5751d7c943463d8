#pragma once

#include <QImage>
#include <QLocale>
#include <QSize>
#include <QString>

namespace Zyn {
namespace Utilities {

// The list separator of the user's locale: ";" where the decimal point is
// ",", else ",". ZYN_LIST_SEPARATOR overrides it (one character).
QString getListSeparatorInCurrentLocale();
// The same rule for a given locale.
QString getListSeparatorForLocale(const QLocale& locale);

// Negative, zero or positive as a sorts before, with or after b: case is
// ignored and runs of digits compare as numbers ("IMG_2" < "IMG_10",
// "EPSG:2001" < "EPSG:20001"). Independent of the locale.
int naturalCompare(const QString& a, const QString& b);
// text shortened to at most maxChars characters, ending in "..." when cut.
QString getElidedText(const QString& text, int maxChars);

// Loads an image, applying its EXIF orientation. A null image on failure.
QImage loadImage(const QString& path);

// A thumbnail of at most maxSize: the JPEG's embedded EXIF thumbnail when it
// has one at least half as wide and high as the result would be (a quarter
// of its area), else a scaled decode. Null on failure. Thread-safe.
QImage loadThumbnail(const QString& path, const QSize& maxSize);
// A stand-in shown until a photo is decoded in full: its embedded thumbnail
// at whatever size it has (it costs next to nothing), else a reduced decode.
QImage loadPreview(const QString& path, const QSize& maxSize);

// Folder of the host's read-only data files (share/zynphoto next to the
// binaries); ZYN_DATA_PATH overrides it.
QString dataDirectory();

// Sets the organisation and application names, so that a default
// QSettings is the application's store. Call once after QApplication.
void setupApplicationIdentity();

} // namespace Utilities
} // namespace Zyn
