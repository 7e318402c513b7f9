#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <QRect>

#include <vector>

namespace tallowfern {

/// What a panel reserves along one edge of the whole desktop, in device pixels.
using Strut = QRect;

/// What all windows reserve now; one round trip for all of them.
std::vector<Strut> readStruts(X11Connection& connection);

/// `monitor` without the strips that struts take from its edges. Struts that would leave less than half of it in one
/// direction are an error of somebody's and count for nothing.
QRect withoutStruts(const QRect& monitor, const std::vector<Strut>& struts);

} // namespace tallowfern
