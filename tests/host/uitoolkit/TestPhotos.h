#pragma once

#include <QColor>
#include <QImage>
#include <QSize>
#include <QString>

// Photos made at test time: JPEGs with or without an embedded EXIF
// thumbnail, and files that only pretend to be photos.
namespace TestPhotos {

// A photo-like picture (sky, ground, a few shapes) varying with seed.
QImage makePicture(const QSize& size, int seed, const QColor& tint = QColor());

// Encodes image as JPEG; when thumbnail is not null it is embedded as the
// EXIF thumbnail (as cameras do). False on any write failure.
bool writeJpeg(const QString& path, const QImage& image, const QImage& thumbnail = QImage(), int quality = 85);

// writeJpeg of makePicture, with a 160x120 EXIF thumbnail when asked.
bool writePhoto(const QString& path, const QSize& size, int seed, bool withExifThumbnail);

// A file named like a photo whose bytes are not an image.
bool writeCorrupt(const QString& path);

} // namespace TestPhotos
