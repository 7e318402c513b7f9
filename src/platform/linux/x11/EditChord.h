#pragma once

#include <QString>

#include <vector>

namespace tallowfern {

enum class Edit { Paste, Copy };

/// Keys that do an edit in a window.
struct EditChord {
    std::vector<quint32> keySymbols; ///< in the order of pressing
    bool takesPrimary = false; ///< it pastes PRIMARY, not the clipboard
};

/// The usual chord first; the next one serves keyboards that lack a key of it. Empty where the application has none.
/// `applicationIdentifier` is its desktop file or class name.
std::vector<EditChord> editChordsFor(Edit edit, const QString& applicationIdentifier);

} // namespace tallowfern
