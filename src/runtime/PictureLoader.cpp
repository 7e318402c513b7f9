#include "runtime/PictureLoader.h"

#include "foundation/LocalizedError.h"
#include "foundation/Words.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

namespace tallowfern {

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

bool load(PromptImage& picture, int longestSide)
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

} // namespace

void loadPictures(Prompt& prompt, int longestSide)
{
    for (PromptMessage& message : prompt.messages) {
        QList<PromptImage> loaded;
        for (PromptImage picture : message.images) {
            if (load(picture, longestSide))
                loaded.append(std::move(picture));
            else if (picture.mustExist)
                throw SystemError(words("The screenshot could not be read."));
        }
        message.images = loaded;
    }
}

} // namespace tallowfern
