#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QSize>
#include <QString>

// Photos made at test time: JPEGs with or without EXIF (an embedded
// thumbnail, a GPS block), and files that only pretend to be photos.
namespace TestPhotos {

// A photo-like picture (sky, ground, a few shapes) varying with seed.
QImage makePicture(const QSize& size, int seed, const QColor& tint = QColor());

// The JPEG bytes of image; empty when it cannot be encoded.
QByteArray encodeJpeg(const QImage& image, int quality = 85);

// Encodes image as JPEG; when thumbnail is not null it is embedded as the
// EXIF thumbnail (as cameras do). False on any write failure.
bool writeJpeg(const QString& path, const QImage& image, const QImage& thumbnail = QImage(), int quality = 85);

// writeJpeg of makePicture, with a 160x120 EXIF thumbnail when asked.
bool writePhoto(const QString& path, const QSize& size, int seed, bool withExifThumbnail);

// A file named like a photo whose bytes are not an image.
bool writeCorrupt(const QString& path);

// South, west and below sea level are negative.
struct Gps {
    double latitude, longitude, altitude;
};

// Small 64x48 photos: with an EXIF GPS block, with EXIF but no GPS block,
// and with no EXIF at all.
bool writeWithGps(const QString& path, const Gps& gps, int seed = 0);
bool writeWithoutGps(const QString& path, int seed = 0);
bool writePlain(const QString& path, int seed = 0);

} // namespace TestPhotos
