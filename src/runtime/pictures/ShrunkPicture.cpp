#include "runtime/providers/Prompt.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

using namespace tallowfern;

namespace {

constexpr qsizetype kLargestPng = 4 << 20; // bytes; the services take 7 to 20 MB a request
constexpr int kJpegQuality = 85;

QByteArray encoded(const QImage& image, const char* format, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, quality);
    return bytes;
}

} // namespace

/// Reads the picture's file, and makes it as small as its longest side may be. False when it cannot be read.
extern "C" Q_DECL_EXPORT bool tallowfernShrinkPicture(PromptImage& picture, int longestSide)
{
    QImageReader reader(picture.filePath);
    reader.setDecideFormatFromContent(true);
    QImage image = reader.read();
    if (image.isNull())
        return false;
    if (std::max(image.width(), image.height()) > longestSide)
        image = image.scaled(longestSide, longestSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QByteArray bytes = encoded(image, "PNG", -1);
    picture.mimeType = "image/png";
    if (bytes.size() > kLargestPng) {
        bytes = encoded(image.convertToFormat(QImage::Format_RGB888), "JPEG", kJpegQuality);
        picture.mimeType = "image/jpeg";
    }
    picture.base64 = bytes.toBase64();
    return true;
}
