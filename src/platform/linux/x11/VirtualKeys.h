#pragma once

#include <QtGlobal>

#include <optional>

namespace tallowfern {

/// Virtual key codes name keys by their position, as stored in shortcuts (49 is Space, 53 is Escape); evdev codes are
/// the kernel's names for the same positions. X key codes are evdev codes plus kX11KeycodeOffset.
constexpr quint32 kX11KeycodeOffset = 8;

/// Nothing for keys that keyboards of this kind do not have.
std::optional<quint32> evdevCode(quint32 virtualKey);
std::optional<quint32> virtualKeyCode(quint32 evdev);

} // namespace tallowfern
