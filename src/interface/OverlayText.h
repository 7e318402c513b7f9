#pragma once

#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

namespace tallowfern {

enum class OverlayWeight { Regular = 400, SemiBold = 600 };

/// The overlay's face at `pixels` logical pixels; halves are fine.
QFont overlayFont(double pixels, OverlayWeight weight = OverlayWeight::Regular);

/// One line that begins at the left of `row` and stands on `baseline`; its end gives way where it does not fit.
void drawElided(QPainter& painter, const QRectF& row, double baseline, const QString& text);

/// The width of `text` with every digit as wide as a 0, so that figures which count do not dance.
double figuresWidth(const QFont& font, const QString& text);
/// `text` so that it ends at `right`.
void drawFigures(QPainter& painter, double right, double baseline, const QString& text);

/// The baseline at which the capitals of `font` stand in the middle of `row`.
double baselineOf(const QFont& font, const QRectF& row);

} // namespace tallowfern
