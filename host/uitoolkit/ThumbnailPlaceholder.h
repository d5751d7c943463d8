#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace Zyn {
namespace UiToolkit {

// Tiles shown instead of a thumbnail. Made on the GUI thread (they draw text).
class ThumbnailPlaceholder {
public:
    // Grey tile with a broken-photo glyph and "Cannot read photo".
    static QImage failedImage(const QSize& size);
    // Light tile shown while the thumbnail is being decoded.
    static QImage loadingImage(const QSize& size);
    static QString failedText();
};

} // namespace UiToolkit
} // namespace Zyn
