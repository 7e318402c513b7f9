#include "interface/OverlayText.h"

#include <QFontMetricsF>
#include <QPainter>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr double kPointsPerPixel = 0.75; // Qt takes no fractions of pixels

double cellWidth(const QFontMetricsF& metrics, QChar character)
{
    return metrics.horizontalAdvance(character.isDigit() ? u'0' : character);
}

} // namespace

QFont overlayFont(double pixels, OverlayWeight weight)
{
    QFont font(u"Inter"_s);
    font.setPointSizeF(pixels * kPointsPerPixel);
    font.setWeight(static_cast<QFont::Weight>(weight));
    font.setHintingPreference(QFont::PreferNoHinting); // sizes with fractions would be rounded
    return font;
}

void drawElided(QPainter& painter, const QRectF& row, double baseline, const QString& text)
{
    const QFontMetricsF metrics(painter.font());
    painter.drawText(QPointF(row.left(), baseline), metrics.elidedText(text, Qt::ElideRight, row.width()));
}

double figuresWidth(const QFont& font, const QString& text)
{
    const QFontMetricsF metrics(font);
    double width = 0;
    for (const QChar character : text)
        width += cellWidth(metrics, character);
    return width;
}

void drawFigures(QPainter& painter, double right, double baseline, const QString& text)
{
    const QFontMetricsF metrics(painter.font());
    double x = right - figuresWidth(painter.font(), text);
    for (const QChar character : text) {
        const double cell = cellWidth(metrics, character);
        painter.drawText(QPointF(x + (cell - metrics.horizontalAdvance(character)) / 2, baseline), character);
        x += cell;
    }
}

double baselineOf(const QFont& font, const QRectF& row)
{
    return row.center().y() + QFontMetricsF(font).capHeight() / 2;
}

} // namespace tallowfern
