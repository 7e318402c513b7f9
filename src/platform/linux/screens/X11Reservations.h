#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <QRect>

#include <vector>

namespace tallowfern {

/// What a panel reserves along one edge of the whole desktop, in device pixels.
struct Strut {
    Qt::Edge edge;
    QRect area;
};

/// What is not for windows, in device pixels.
struct X11Reservations {
    std::vector<Strut> struts;
    /// What the desktop itself leaves to windows; some have panels that are not windows.
    std::vector<QRect> workAreas;
};

/// As of now; two round trips, however many windows there are.
X11Reservations readReservations(X11Connection& connection);

/// `monitor` less what is reserved of it. What would leave less than half of it in one direction is an error of
/// somebody's, or is meant for a monitor beside it, and counts for nothing.
QRect freePart(const QRect& monitor, const X11Reservations& reservations);

} // namespace tallowfern
