#pragma once

#include "interface/OverlayPainter.h"

#include <QBasicTimer>
#include <QRasterWindow>

#include <functional>
#include <optional>

namespace tallowfern {

/// The overlay's window: a frameless panel that never takes the focus, is painted by hand, and can be dragged by any
/// part of it. Redraws only the parts that move, ten times a second at most. Main thread.
class OverlayWindow : public QRasterWindow {
    Q_OBJECT
public:
    /// `moment` gives what moves as of now.
    explicit OverlayWindow(std::function<OverlayMoment(const OverlayFace&)> moment);

    void setFace(const OverlayFace& face);
    void setStyle(const OverlayStyle& style);

Q_SIGNALS:
    void tapped();
    /// The user has let go of it at another place.
    void dragged(const QPoint& origin);

protected:
    void paintEvent(QPaintEvent* event) override;
    void exposeEvent(QExposeEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    struct Grip {
        QPointF pointer;
        QPoint origin;
        bool isMoving = false;
    };

    void followTime();
    void cutOut();

    std::function<OverlayMoment(const OverlayFace&)> m_momentNow;
    OverlayFace m_face;
    OverlayMoment m_moment;
    OverlayStyle m_style;
    QBasicTimer m_timeline;
    std::optional<Grip> m_grip;
};

} // namespace tallowfern
