#include "interface/OverlayWindow.h"

#include <QBitmap>
#include <QGuiApplication>
#include <QImage>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QRegion>
#include <QStyleHints>

namespace tallowfern {

namespace {

constexpr int kRedrawInterval = 100; // milliseconds

/// The pixels that lie at least half within the shape: a region made of the path itself has straight corners.
QRegion covered(const QPainterPath& shape, const QSize& size)
{
    QImage coverage(size, QImage::Format_ARGB32_Premultiplied);
    coverage.fill(Qt::transparent);
    QPainter painter(&coverage);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(shape, Qt::black);
    painter.end();
    return QBitmap::fromImage(coverage.createAlphaMask(Qt::ThresholdDither));
}

} // namespace

OverlayWindow::OverlayWindow(std::function<OverlayMoment(const OverlayFace&)> moment)
    : m_momentNow(std::move(moment))
{
    QSurfaceFormat surface = format();
    surface.setAlphaBufferSize(8);
    setFormat(surface);
    setFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Tool | Qt::WindowDoesNotAcceptFocus);
    setTitle(QGuiApplication::applicationDisplayName());
}

void OverlayWindow::setFace(const OverlayFace& face)
{
    if (face == m_face)
        return;
    const bool isOtherShape = face.body != m_face.body;
    m_face = face;
    m_moment = m_momentNow(m_face);
    if (isOtherShape)
        cutOut();
    followTime();
    update();
}

void OverlayWindow::setStyle(const OverlayStyle& style)
{
    if (style == m_style)
        return;
    m_style = style;
    cutOut();
    update();
}

/// Without a compositor, what is transparent would be black.
void OverlayWindow::cutOut()
{
    setMask(
        m_style.isTranslucent ? QRegion() : covered(overlayPill(m_face.body), overlayPanelSize(m_face.body).toSize()));
}

void OverlayWindow::followTime()
{
    if (isExposed() && m_face.isMoving())
        m_timeline.start(kRedrawInterval, this);
    else
        m_timeline.stop();
}

void OverlayWindow::exposeEvent(QExposeEvent* event)
{
    QRasterWindow::exposeEvent(event);
    followTime();
}

void OverlayWindow::resizeEvent(QResizeEvent* event)
{
    QRasterWindow::resizeEvent(event);
    update();
}

void OverlayWindow::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != m_timeline.timerId())
        return;
    const OverlayMoment moment = m_momentNow(m_face);
    if (moment.bars != m_moment.bars)
        update(overlayWaveRect(m_face.body).toAlignedRect());
    if (moment.duration != m_moment.duration || moment.turn != m_moment.turn)
        update(overlayTrailingRect(m_face.body).toAlignedRect());
    m_moment = moment;
}

void OverlayWindow::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setClipRegion(event->region());
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(QRect(QPoint(), size()), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    paintOverlay(painter, m_face, m_moment, m_style);
}

void OverlayWindow::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        // Where the press says that the window is: Qt may not have heard yet where the window manager put it.
        m_grip = Grip{event->globalPosition(), (event->globalPosition() - event->position()).toPoint()};
}

void OverlayWindow::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_grip)
        return;
    const QPointF way = event->globalPosition() - m_grip->pointer;
    if (way.manhattanLength() >= QGuiApplication::styleHints()->startDragDistance())
        m_grip->isMoving = true;
    if (m_grip->isMoving)
        setPosition(m_grip->origin + way.toPoint());
}

void OverlayWindow::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_grip)
        return;
    const Grip grip = *m_grip;
    m_grip.reset();
    if (grip.isMoving)
        Q_EMIT dragged(grip.origin + (event->globalPosition() - grip.pointer).toPoint());
    else
        Q_EMIT tapped();
}

} // namespace tallowfern
