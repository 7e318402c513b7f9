#include "interface/Symbols.h"

#include <QBuffer>
#include <QFile>
#include <QHash>
#include <QImageReader>

#include <cmath>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr auto kInk = "#14150F"; // the one colour in each drawing

QImage drawn(const QString& name, const QColor& colour, int pixels)
{
    QFile file(u":/symbols/%1.svg"_s.arg(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray drawing = file.readAll().replace(kInk, colour.name().toLatin1());
    QBuffer buffer(&drawing);
    QImageReader reader(&buffer, "svg");
    reader.setScaledSize({pixels, pixels});
    return reader.read();
}

} // namespace

QImage symbolImage(const QString& name, const QColor& colour, int size, double devicePixelRatio)
{
    static QHash<QString, QImage> kept;
    const auto pixels = static_cast<int>(std::lround(size * devicePixelRatio));
    const QString key = u"%1 %2 %3"_s.arg(name, colour.name()).arg(pixels);
    auto found = kept.find(key);
    if (found == kept.end())
        found = kept.insert(key, drawn(name, colour, pixels));
    QImage image = *found;
    image.setDevicePixelRatio(devicePixelRatio);
    return image;
}

} // namespace tallowfern
