// Thumbnail loading for the photo canvas: the embedded EXIF thumbnail and
// the scaled decode against the obvious peer (decode the whole photo, then
// scale it), and against the floor of just reading the file's bytes.

#include <TestPhotos.h>
#include <make_drone_photos/ExifWriter.h>
#include <utilities/Utilities.h>

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QImageReader>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>

namespace {

// A drone-photo-like picture: gradients and texture, so the JPEG is as
// costly to decode as a real one of that size.
QImage syntheticPhoto(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int noise = ((x * 7919) ^ (y * 104729)) & 31;
            line[x] = qRgb((x * 255 / width + noise) & 255, (y * 255 / height + noise) & 255, (x + y + noise) & 255);
        }
    }
    return image;
}

// The thumbnail embedded as cameras do, by the drone tool's EXIF writer.
QByteArray withExifThumbnail(const QByteArray& jpeg, const QByteArray& thumbnail)
{
    Zyn::Tools::PhotoExif exif;
    exif.thumbnailJpeg = thumbnail;
    return Zyn::Tools::spliceSegment(jpeg, Zyn::Tools::buildExifSegment(exif));
}

double msPerCall(int rounds, const std::function<bool()>& call)
{
    if (!call()) // warm-up, and a check that the call works at all
        return -1;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < rounds; ++i) {
        if (!call())
            return -1;
    }
    return double(timer.nsecsElapsed()) / 1e6 / rounds;
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    QTemporaryDir dir;
    if (!dir.isValid())
        return 1;

    const QSize photoSize(4000, 3000);
    const QSize box(160, 160);
    const QImage photo = syntheticPhoto(photoSize.width(), photoSize.height());
    const QByteArray jpeg = TestPhotos::encodeJpeg(photo, 90);
    const QByteArray thumb =
        TestPhotos::encodeJpeg(photo.scaled(160, 120, Qt::KeepAspectRatio, Qt::SmoothTransformation), 85);

    const QString withThumb = dir.filePath("with_thumbnail.jpg");
    const QString plain = dir.filePath("plain.jpg");
    {
        QFile a(withThumb);
        QFile b(plain);
        if (!a.open(QIODevice::WriteOnly) || !b.open(QIODevice::WriteOnly))
            return 1;
        a.write(withExifThumbnail(jpeg, thumb));
        b.write(jpeg);
    }

    const int rounds = 8;
    const double readBytes = msPerCall(rounds, [&] {
        QFile f(plain);
        return f.open(QIODevice::ReadOnly) && !f.readAll().isEmpty();
    });
    const double peer = msPerCall(rounds, [&] {
        QImageReader reader(plain);
        const QImage full = reader.read();
        return !full.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation).isNull();
    });
    const double embedded = msPerCall(rounds * 10, [&] {
        return Zyn::Utilities::loadThumbnail(withThumb, box).size() == QSize(160, 120);
    });
    const double scaled = msPerCall(rounds, [&] { return !Zyn::Utilities::loadThumbnail(plain, box).isNull(); });

    std::printf("photo %dx%d JPEG, %.1f MB; thumbnail box %dx%d\n", photoSize.width(), photoSize.height(),
                jpeg.size() / 1e6, box.width(), box.height());
    std::printf("%-44s %9.3f ms\n", "read the file's bytes (floor)", readBytes);
    std::printf("%-44s %9.3f ms\n", "peer: full decode, then scale", peer);
    std::printf("%-44s %9.3f ms  %6.1fx faster than peer\n", "loadThumbnail, embedded EXIF thumbnail", embedded,
                peer / embedded);
    std::printf("%-44s %9.3f ms  %6.1fx faster than peer, %.1fx the floor\n", "loadThumbnail, scaled decode",
                scaled, peer / scaled, scaled / readBytes);
    return (readBytes < 0 || peer < 0 || embedded < 0 || scaled < 0) ? 1 : 0;
}
