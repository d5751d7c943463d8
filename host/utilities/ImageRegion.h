#pragma once

#include <QImage>
#include <QRect>
#include <QString>

namespace Zyn {
namespace Utilities {

// Decodes only `region` of a photo (in stored pixel coordinates, clipped
// to the image): a JPEG decodes the columns of the region and skips the
// rows above it without their colour work, and stops below it. Other
// formats, and JPEGs with an EXIF orientation, are read whole and cut.
// `origin` receives where the answer's top-left pixel sits in the photo.
// Null (and `error`) for an unreadable file or an empty region.
// Thread-safe.
QImage readImageRegion(const QString& path, const QRect& region, bool grayscale, QPoint* origin = nullptr,
                       QString* error = nullptr);

} // namespace Utilities
} // namespace Zyn
