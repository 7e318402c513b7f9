#pragma once

#include <QImage>

#include <xcb/xcb.h>

namespace tallowfern {

/// What the window shows, in its own pixels and without what its program draws around it as a frame; null when it is
/// not on screen. From any thread, on a connection of its own. Waits for half a second at most for the program to paint
/// what other windows cover.
QImage x11WindowPicture(xcb_window_t window);

} // namespace tallowfern
