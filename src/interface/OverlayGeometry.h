#pragma once

#include "core/PreferenceTypes.h"
#include "platform/Screens.h"

#include <QList>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <optional>

namespace tallowfern {

// Where the overlay stands. Rectangles are in logical pixels, y downwards; a place that is kept is a fraction of the
// screen's free travel, from the left and from the bottom, so that it outlives a change of screen and of the pill.

/// The forms of the overlay.
enum class OverlayBody { Classic, Mini, Listening, Compact };

constexpr double kOverlayMargin = 4; ///< between the pill and the edge of its panel

QSizeF overlayPanelSize(OverlayBody body);

QPointF relativePosition(const QRectF& frame, const QRectF& visibleFrame);
/// `relative` is held between 0 and 1.
QPointF origin(const QPointF& relative, const QSizeF& panelSize, const QRectF& visibleFrame);
/// Where nobody has dragged it: centred, near the top.
QPointF defaultOrigin(const QSizeF& panelSize, const QRectF& visibleFrame);
/// The nearest place at which all of `frame` is visible; centred where it does not fit.
QPointF constrainedOrigin(const QRectF& frame, const QRectF& visibleFrame);
/// The screen that shows most of `frame`, the first of equal ones; nothing when none shows any.
std::optional<Screen> bestScreen(const QRectF& frame, const QList<Screen>& screens);
/// The screen for a new showing: with the focused window, else with the pointer, else the first.
std::optional<Screen> preferredScreen(const Screens& screens);

} // namespace tallowfern
