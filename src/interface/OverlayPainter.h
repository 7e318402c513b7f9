#pragma once

#include "interface/OverlayFace.h"

#include <QList>
#include <QPainterPath>
#include <QRectF>

class QPainter;

namespace tallowfern {

/// What moves on the overlay, as of one moment.
struct OverlayMoment {
    QList<double> bars; ///< heights, of waveformBars()
    QString duration;
    double turn = 0; ///< of the spinner, 0 to 1

    bool operator==(const OverlayMoment&) const = default;
};

/// How it is drawn.
struct OverlayStyle {
    bool isDark = true;
    bool isTranslucent = true; ///< else its colours are full, for windows whose edge is cut out

    bool operator==(const OverlayStyle&) const = default;
};

/// The pill within a panel of overlayPanelSize().
QPainterPath overlayPill(OverlayBody body);
/// The parts of the panel in which anything of OverlayMoment is drawn.
QRectF overlayWaveRect(OverlayBody body);
QRectF overlayTrailingRect(OverlayBody body);

/// Draws the whole panel but what lies behind the pill.
void paintOverlay(QPainter& painter, const OverlayFace& face, const OverlayMoment& moment, const OverlayStyle& style);

} // namespace tallowfern
