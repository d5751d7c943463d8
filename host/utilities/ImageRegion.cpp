#include "ImageRegion.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

namespace Zyn {
namespace Utilities {

namespace {

struct JpegError {
    jpeg_error_mgr mgr;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

void onJpegError(j_common_ptr info)
{
    auto* error = reinterpret_cast<JpegError*>(info->err);
    (*info->err->format_message)(info, error->message);
    std::longjmp(error->jump, 1);
}

void onJpegWarning(j_common_ptr, int) {}

// Plain C state only between setjmp and longjmp.
bool decodeJpegRegion(std::FILE* file, const QRect& wanted, bool grayscale, QImage* out, QRect* got,
                      char* message)
{
    jpeg_decompress_struct info;
    JpegError error;
    info.err = jpeg_std_error(&error.mgr);
    error.mgr.error_exit = onJpegError;
    error.mgr.emit_message = onJpegWarning;
    error.message[0] = 0;
    volatile bool created = false;
    if (setjmp(error.jump)) {
        if (created)
            jpeg_destroy_decompress(&info);
        qstrncpy(message, error.message, JMSG_LENGTH_MAX);
        return false;
    }
    jpeg_create_decompress(&info);
    created = true;
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    if (info.jpeg_color_space == JCS_YCCK || info.jpeg_color_space == JCS_CMYK) {
        jpeg_destroy_decompress(&info);
        qstrncpy(message, "CMYK", JMSG_LENGTH_MAX);
        return false;
    }
    info.out_color_space = grayscale ? JCS_GRAYSCALE : JCS_EXT_BGRX;
    jpeg_start_decompress(&info);
    const QRect region = wanted.intersected(QRect(0, 0, int(info.output_width), int(info.output_height)));
    if (region.isEmpty()) {
        jpeg_abort_decompress(&info);
        jpeg_destroy_decompress(&info);
        *got = QRect();
        return true;
    }
    // The crop widens the columns to whole blocks.
    JDIMENSION x = JDIMENSION(region.x()), width = JDIMENSION(region.width());
    jpeg_crop_scanline(&info, &x, &width);
    if (region.y() > 0)
        jpeg_skip_scanlines(&info, JDIMENSION(region.y()));
    QImage image(int(width), region.height(), grayscale ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    for (int row = 0; row < region.height(); ++row) {
        JSAMPROW line = image.scanLine(row);
        if (jpeg_read_scanlines(&info, &line, 1) != 1)
            break;
    }
    jpeg_abort_decompress(&info);
    jpeg_destroy_decompress(&info);
    *out = image;
    *got = QRect(int(x), region.y(), int(width), region.height());
    return true;
}

QImage readWhole(const QString& path, const QRect& region, bool grayscale, QPoint* origin, QString* error)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QImage whole = reader.read();
    if (whole.isNull()) {
        if (error)
            *error = reader.errorString();
        return {};
    }
    const QRect clip = region.intersected(whole.rect());
    if (clip.isEmpty()) {
        if (error)
            *error = QStringLiteral("The region lies outside the image.");
        return {};
    }
    if (origin)
        *origin = clip.topLeft();
    const QImage part = whole.copy(clip);
    return grayscale ? part.convertToFormat(QImage::Format_Grayscale8) : part.convertToFormat(QImage::Format_RGB32);
}

} // namespace

QImage readImageRegion(const QString& path, const QRect& region, bool grayscale, QPoint* origin, QString* error)
{
    // Only regular files: a FIFO with a photo's name would block the reader.
    if (!QFileInfo(path).isFile()) {
        if (error)
            *error = QStringLiteral("Not a readable file.");
        return {};
    }
    QImageReader probe(path);
    const bool jpeg = probe.format() == "jpeg";
    if (!jpeg || probe.transformation() != QImageIOHandler::TransformationNone)
        return readWhole(path, region, grayscale, origin, error);

    std::FILE* stream = std::fopen(QFile::encodeName(path).constData(), "rb");
    if (!stream) {
        if (error)
            *error = QStringLiteral("Cannot open the file.");
        return {};
    }
    QImage image;
    QRect got;
    char message[JMSG_LENGTH_MAX] = {};
    const bool ok = decodeJpegRegion(stream, region, grayscale, &image, &got, message);
    std::fclose(stream);
    if (!ok) {
        // libjpeg cannot turn CMYK into our formats; Qt can.
        if (qstrcmp(message, "CMYK") == 0)
            return readWhole(path, region, grayscale, origin, error);
        if (error)
            *error = QString::fromLatin1(message);
        return {};
    }
    if (got.isEmpty()) {
        if (error)
            *error = QStringLiteral("The region lies outside the image.");
        return {};
    }
    // Trim the block-aligned columns back to what was asked.
    const QRect clip = region.intersected(got);
    if (origin)
        *origin = clip.topLeft();
    return image.copy(clip.translated(-got.topLeft()));
}

} // namespace Utilities
} // namespace Zyn
