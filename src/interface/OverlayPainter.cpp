#include "interface/OverlayPainter.h"

#include "interface/OverlayText.h"
#include "interface/OverlayWaveform.h"
#include "interface/Symbols.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace tallowfern {

namespace {

using Trailing = OverlayFace::Trailing;

const QColor kSignal(0xDF, 0xFF, 0x43);
const QColor kGood(0x2E, 0x7D, 0x32);
const QColor kBad(0xB3, 0x26, 0x1E);
const QColor kInk(0x14, 0x15, 0x0F);

constexpr double kRowGap = 8;
constexpr double kRing = 16;

/// The places within a panel.
struct Layout {
    QRectF pill; ///< without the border's margin
    double padding;
    QRectF wave;
    QRectF titleRow;
    QRectF lineRow;
    double trailingLeast; ///< width that is kept for what moves at the right
    double labelSize;
    int symbolSize;

    double right() const { return pill.right() - padding; }
};

Layout layoutOf(OverlayBody body)
{
    const auto panel = overlayPanelSize(body);
    Layout layout{};
    layout.pill = QRectF(QPointF(), panel).adjusted(kOverlayMargin, kOverlayMargin, -kOverlayMargin, -kOverlayMargin);
    const double left = layout.pill.left();
    const double top = layout.pill.top();
    if (body == OverlayBody::Mini) {
        layout.padding = 13;
        layout.wave = {left + 13, top + 3, 86, 29};
        layout.trailingLeast = 42;
        layout.labelSize = 10.5;
        layout.symbolSize = 18;
    } else if (body == OverlayBody::Compact) {
        layout.padding = 11;
        constexpr double kTextLeft = 11 + 22 + 9;
        layout.titleRow = {left + kTextLeft, top + 5.5, 0, 16};
        layout.lineRow = {left + kTextLeft, top + 21.5, 0, 13};
        layout.trailingLeast = 40;
        layout.labelSize = 12;
        layout.symbolSize = 18;
    } else {
        layout.padding = 14;
        layout.wave = {left + 14, top + 9, 86, 38};
        constexpr double kTextLeft = 14 + 86 + 12;
        layout.titleRow = {left + kTextLeft, top + 12, 0, 16};
        layout.lineRow = {left + kTextLeft, top + 30, 0, 14};
        layout.trailingLeast = 46;
        layout.labelSize = 12;
        layout.symbolSize = 20;
    }
    layout.titleRow.setRight(layout.right());
    layout.lineRow.setRight(layout.right());
    return layout;
}

/// Corners whose curve grows from the straight edge without a step, as deep as an arc of this radius.
QPainterPath continuousRect(const QRectF& rect, double radius)
{
    const double extent = 1.12 * radius; // with `bend`, the middle of the curve lies on the arc
    constexpr double kBend = 0.636;
    const double control = extent * (1 - kBend);
    QPainterPath path;
    path.moveTo(rect.left() + extent, rect.top());
    path.lineTo(rect.right() - extent, rect.top());
    path.cubicTo(
        rect.right() - control, rect.top(), rect.right(), rect.top() + control, rect.right(), rect.top() + extent);
    path.lineTo(rect.right(), rect.bottom() - extent);
    path.cubicTo(rect.right(), rect.bottom() - control, rect.right() - control, rect.bottom(), rect.right() - extent,
        rect.bottom());
    path.lineTo(rect.left() + extent, rect.bottom());
    path.cubicTo(rect.left() + control, rect.bottom(), rect.left(), rect.bottom() - control, rect.left(),
        rect.bottom() - extent);
    path.lineTo(rect.left(), rect.top() + extent);
    path.cubicTo(
        rect.left(), rect.top() + control, rect.left() + control, rect.top(), rect.left() + extent, rect.top());
    path.closeSubpath();
    return path;
}

QPainterPath pillPath(OverlayBody body, const QRectF& rect)
{
    if (body == OverlayBody::Classic || body == OverlayBody::Listening)
        return continuousRect(rect, 19 - (rect.left() - kOverlayMargin));
    QPainterPath path;
    path.addRoundedRect(rect, rect.height() / 2, rect.height() / 2);
    return path;
}

class Drawing {
public:
    Drawing(QPainter& painter, const OverlayFace& face, const OverlayMoment& moment, const OverlayStyle& style)
        : m_painter(painter)
        , m_face(face)
        , m_moment(moment)
        , m_style(style)
        , m_layout(layoutOf(face.body))
        , m_ratio(painter.device()->devicePixelRatio())
    {
    }

    void paint()
    {
        m_painter.setRenderHint(QPainter::Antialiasing);
        pill();
        if (m_face.body == OverlayBody::Compact)
            badge();
        else
            bars();
        trailing();
        if (m_face.body != OverlayBody::Mini)
            texts();
    }

private:
    QColor ink(double opacity = 1) const
    {
        QColor colour = m_style.isDark ? Qt::white : Qt::black;
        colour.setAlphaF(static_cast<float>(opacity));
        return colour;
    }

    double either(double onDark, double onLight) const { return m_style.isDark ? onDark : onLight; }

    void pill()
    {
        QColor fill = m_style.isDark ? Qt::black : Qt::white;
        if (m_style.isTranslucent)
            fill.setAlphaF(static_cast<float>(either(0.95, 0.98)));
        m_painter.setPen(Qt::NoPen);
        m_painter.fillPath(pillPath(m_face.body, m_layout.pill), fill);
        // A ring, in whole pixels: a line of 0.75 on the edge of the fill would be a shimmer.
        const bool isCapsule = m_face.body == OverlayBody::Mini || m_face.body == OverlayBody::Compact;
        const double line = std::max(1.0, std::round((isCapsule ? 0.7 : 0.75) * m_ratio)) / m_ratio;
        QPainterPath ring = pillPath(m_face.body, m_layout.pill);
        ring.addPath(pillPath(m_face.body, m_layout.pill.adjusted(line, line, -line, -line)));
        m_painter.fillPath(ring, ink(either(0.15, 0.11)));
    }

    void bars()
    {
        const auto shape = waveformShape(m_face.body);
        const double width = (shape.count - 1) * shape.pitch + 2;
        double x = m_layout.wave.left() + (m_layout.wave.width() - width) / 2;
        const double twiceMiddle = std::round(2 * m_layout.wave.center().y() * m_ratio);
        m_painter.setPen(Qt::NoPen);
        m_painter.setBrush(ink(0.92));
        for (const double height : m_moment.bars) {
            // On whole pixels above and below the middle: ten times a second, edges between pixels would flicker.
            const double top = std::round(twiceMiddle / 2 - height * m_ratio / 2);
            const QRectF bar(x, top / m_ratio, 2, (twiceMiddle - 2 * top) / m_ratio);
            m_painter.drawRoundedRect(bar, 1, 1);
            x += shape.pitch;
        }
    }

    void badge()
    {
        constexpr double kSize = 22;
        constexpr int kIcon = 14;
        const QRectF circle(m_layout.pill.left() + 11, m_layout.pill.center().y() - kSize / 2, kSize, kSize);
        QColor fill = kSignal;
        QColor icon = Qt::white;
        if (m_face.badge == OverlayFace::Badge::Good)
            fill = kGood;
        else if (m_face.badge == OverlayFace::Badge::Bad)
            fill = kBad;
        else if (m_face.badge == OverlayFace::Badge::Muted)
            fill = ink(either(0.18, 0.10));
        if (m_face.badge == OverlayFace::Badge::Signal)
            icon = kInk;
        else if (m_face.badge == OverlayFace::Badge::Muted)
            icon = ink();
        m_painter.setPen(Qt::NoPen);
        m_painter.setBrush(fill);
        m_painter.drawEllipse(circle);
        symbol(m_face.icon, icon, kIcon, circle.center());
    }

    void symbol(const QString& name, const QColor& colour, int size, const QPointF& centre)
    {
        const auto whole = [this](double at) { return std::round(at * m_ratio) / m_ratio; };
        m_painter.drawImage(QPointF(whole(centre.x() - size / 2.0), whole(centre.y() - size / 2.0)),
            symbolImage(name, colour, size, m_ratio));
    }

    /// What stands at the right; the rows of text end before it.
    void trailing()
    {
        const QFont font = overlayFont(m_layout.labelSize);
        m_painter.setFont(font);
        m_painter.setPen(ink());
        const double middle = m_layout.pill.center().y();
        double taken = 0;
        switch (m_face.trailing) {
        case Trailing::Nothing:
            break;
        case Trailing::Label:
            taken = std::max(34.0, figuresWidth(font, m_face.label));
            drawFigures(m_painter, m_layout.right(), baselineOf(font, m_layout.pill), m_face.label);
            break;
        case Trailing::Duration:
            durationAndChip(font);
            return;
        case Trailing::Symbol: {
            const bool isGood = m_face.symbol == QLatin1String("checkmark");
            const QColor colour = isGood ? (m_style.isDark ? kSignal : kGood) : ink();
            taken = m_layout.symbolSize;
            symbol(m_face.symbol, colour, m_layout.symbolSize, {m_layout.right() - taken / 2, middle});
            break;
        }
        case Trailing::Spinner:
            taken = kRing;
            ring({m_layout.right() - kRing, middle - kRing / 2, kRing, kRing});
            break;
        }
        m_titleRight = m_lineRight = m_layout.right() - (taken > 0 ? taken + kRowGap : 0);
        if (!m_face.chip.isEmpty()) // at rest; the line below has the whole width
            m_titleRight = chip(m_layout.titleRow);
    }

    void durationAndChip(const QFont& font)
    {
        const bool isMini = m_face.body == OverlayBody::Mini;
        const double baseline = baselineOf(isMini ? font : titleFont(), isMini ? m_layout.pill : m_layout.titleRow);
        drawFigures(m_painter, m_layout.right(), baseline, m_moment.duration);
        m_titleRight = m_layout.right() - figuresWidth(font, m_moment.duration) - kRowGap;
        m_lineRight = m_face.chip.isEmpty() ? m_layout.right() : chip(m_layout.lineRow);
    }

    /// Gives where the text beside it has to end.
    double chip(const QRectF& row)
    {
        constexpr double kHeight = 14;
        constexpr double kPadding = 4;
        constexpr double kWidest = 104;
        constexpr double kByEye = 0.75;
        const QFont font = overlayFont(9.5);
        const QFontMetricsF metrics(font);
        const QString text = metrics.elidedText(m_face.chip, Qt::ElideRight, kWidest - 2 * kPadding);
        const double width = std::ceil(metrics.horizontalAdvance(text) + 2 * kPadding);
        const QRectF frame(m_layout.right() - width, std::round(row.center().y() - kHeight / 2), width, kHeight);
        m_painter.setBrush(Qt::NoBrush);
        m_painter.setPen(QPen(ink(either(0.30, 0.26)), 1));
        m_painter.drawRoundedRect(frame.adjusted(0.5, 0.5, -0.5, -0.5), 3.5, 3.5);
        m_painter.setFont(font);
        m_painter.setPen(ink(either(0.72, 0.66)));
        m_painter.drawText(QPointF(frame.left() + kPadding, baselineOf(font, frame) + kByEye / 2), text);
        return frame.left() - kRowGap;
    }

    void ring(const QRectF& frame)
    {
        constexpr double kStroke = 1.6;
        constexpr int kSixteenths = 16; // of a degree, in which Qt measures arcs
        const QRectF arc = frame.adjusted(kStroke / 2, kStroke / 2, -kStroke / 2, -kStroke / 2);
        m_painter.setBrush(Qt::NoBrush);
        m_painter.setPen(QPen(ink(either(0.25, 0.18)), kStroke));
        m_painter.drawEllipse(arc);
        m_painter.setPen(QPen(ink(), kStroke, Qt::SolidLine, Qt::RoundCap));
        const int start = static_cast<int>(std::lround((135 - 360 * m_moment.turn) * kSixteenths));
        m_painter.drawArc(arc, start, -90 * kSixteenths);
    }

    static QFont titleFont() { return overlayFont(12.5, OverlayWeight::SemiBold); }

    void texts()
    {
        QRectF row = m_layout.titleRow;
        row.setRight(m_titleRight);
        m_painter.setFont(titleFont());
        m_painter.setPen(ink());
        drawElided(m_painter, row, baselineOf(titleFont(), m_layout.titleRow), m_face.title);
        const QFont lineFont = overlayFont(9.5);
        row = m_layout.lineRow;
        row.setRight(m_lineRight);
        m_painter.setFont(lineFont);
        m_painter.setPen(ink(0.58));
        drawElided(m_painter, row, baselineOf(lineFont, m_layout.lineRow), m_face.line);
    }

    QPainter& m_painter;
    const OverlayFace& m_face;
    const OverlayMoment& m_moment;
    const OverlayStyle& m_style;
    const Layout m_layout;
    const double m_ratio;
    double m_titleRight = 0;
    double m_lineRight = 0;
};

} // namespace

QPainterPath overlayPill(OverlayBody body)
{
    return pillPath(body, layoutOf(body).pill);
}

QRectF overlayWaveRect(OverlayBody body)
{
    return layoutOf(body).wave;
}

QRectF overlayTrailingRect(OverlayBody body)
{
    const auto layout = layoutOf(body);
    const double left = layout.right() - layout.trailingLeast;
    return {left, layout.pill.top() + 1, layout.trailingLeast, layout.pill.height() - 2};
}

void paintOverlay(QPainter& painter, const OverlayFace& face, const OverlayMoment& moment, const OverlayStyle& style)
{
    Drawing(painter, face, moment, style).paint();
}

} // namespace tallowfern
