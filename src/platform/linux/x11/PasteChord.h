#pragma once

#include <QString>

namespace tallowfern {

/// Which keys paste in a window.
enum class PasteChord {
    ControlV,
    ControlShiftV, ///< terminals, where Control+V is a character
    ShiftInsert, ///< everywhere but in terminals; needs no key for `v`
    ShiftInsertPrimary, ///< the oldest terminals, which paste PRIMARY
};

/// By the desktop file or class name of the application.
PasteChord pasteChordFor(const QString& applicationIdentifier);

} // namespace tallowfern
