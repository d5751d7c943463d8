#include "ThumbnailPlaceholder.h"

#include <QCoreApplication>
#include <QFont>
#include <QHash>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace Zyn {
namespace UiToolkit {

namespace {

QString sizeKey(const char* kind, const QSize& size)
{
    return QStringLiteral("%1:%2x%3").arg(QLatin1String(kind)).arg(size.width()).arg(size.height());
}

QHash<QString, QImage>& placeholderCache()
{
    static QHash<QString, QImage> cache;
    return cache;
}

// A small photo frame (mountain and sun) torn by a zigzag crack.
void drawBrokenPhotoGlyph(QPainter& painter, const QRectF& box)
{
    const qreal w = box.width();
    const qreal h = box.height();
    QPen pen(QColor(95, 95, 95), std::max<qreal>(1.5, w / 22.0));
    pen.setJoinStyle(Qt::RoundJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(box, w / 12.0, w / 12.0);

    painter.setBrush(QColor(95, 95, 95));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPointF(box.left() + w * 0.72, box.top() + h * 0.3), w * 0.08, w * 0.08);
    QPainterPath mountain;
    mountain.moveTo(box.left() + w * 0.1, box.bottom() - h * 0.12);
    mountain.lineTo(box.left() + w * 0.38, box.top() + h * 0.42);
    mountain.lineTo(box.left() + w * 0.58, box.bottom() - h * 0.3);
    mountain.lineTo(box.left() + w * 0.7, box.top() + h * 0.58);
    mountain.lineTo(box.right() - w * 0.1, box.bottom() - h * 0.12);
    mountain.closeSubpath();
    painter.drawPath(mountain);

    // The crack is drawn in the tile colour so the frame reads as split.
    QPen crack(QColor(200, 200, 200), std::max<qreal>(2.0, w / 14.0));
    crack.setJoinStyle(Qt::MiterJoin);
    painter.setPen(crack);
    painter.setBrush(Qt::NoBrush);
    QPainterPath zigzag;
    zigzag.moveTo(box.left() + w * 0.55, box.top() - 2);
    zigzag.lineTo(box.left() + w * 0.42, box.top() + h * 0.35);
    zigzag.lineTo(box.left() + w * 0.6, box.top() + h * 0.55);
    zigzag.lineTo(box.left() + w * 0.45, box.bottom() + 2);
    painter.drawPath(zigzag);
}

} // namespace

QString ThumbnailPlaceholder::failedText()
{
    return QCoreApplication::translate("Zyn::UiToolkit::ThumbnailPlaceholder", "Cannot read photo");
}

QImage ThumbnailPlaceholder::failedImage(const QSize& size)
{
    const QString key = sizeKey("failed", size);
    auto& cache = placeholderCache();
    auto found = cache.constFind(key);
    if (found != cache.constEnd())
        return *found;

    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(200, 200, 200));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal glyph = std::min(size.width(), size.height()) * 0.42;
    const QRectF box((size.width() - glyph * 1.2) / 2.0, size.height() * 0.12, glyph * 1.2, glyph);
    drawBrokenPhotoGlyph(painter, box);

    QFont font = painter.font();
    font.setPixelSize(std::max(9, size.height() / 10));
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(QColor(60, 60, 60));
    const QRectF textRect(0, box.bottom() + size.height() * 0.06, size.width(), size.height() - box.bottom());
    painter.drawText(textRect, Qt::AlignHCenter | Qt::AlignTop, failedText());
    painter.end();
    cache.insert(key, image);
    return image;
}

QImage ThumbnailPlaceholder::loadingImage(const QSize& size)
{
    const QString key = sizeKey("loading", size);
    auto& cache = placeholderCache();
    auto found = cache.constFind(key);
    if (found != cache.constEnd())
        return *found;

    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(232, 232, 232));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(190, 190, 190));
    const qreal r = std::max(2.0, size.height() / 24.0);
    for (int i = -1; i <= 1; ++i)
        painter.drawEllipse(QPointF(size.width() / 2.0 + i * r * 3.5, size.height() / 2.0), r, r);
    painter.end();
    cache.insert(key, image);
    return image;
}

} // namespace UiToolkit
} // namespace Zyn
