#pragma once

#include <QString>

#include <optional>

namespace tallowfern {

/// What a toolkit counts when it tells of places in a text. The protocol says characters; toolkits differ.
enum class TextUnit {
    CodePoint, ///< GTK, Chromium
    Utf16, ///< Qt; also Firefox, which besides pads the text it returns
};

/// The unit of an object that counts `characterCount` in `text`. Nothing when neither fits, which
/// matters only for a text beyond the basic plane.
std::optional<TextUnit> textUnit(qint64 characterCount, const QString& text);

/// The place in UTF-16 units; nothing when it lies outside of the text.
std::optional<qint64> utf16Offset(qint64 offset, TextUnit unit, const QString& text);

/// The other way round: nothing also for a place within a character.
std::optional<qint64> countedOffset(qint64 utf16Offset, TextUnit unit, const QString& text);

/// Without the U+FEFF that Firefox puts after each character beyond the basic plane, so that its text has as many code
/// points as UTF-16 units; as it is where not every such character has one.
QString withoutPadding(const QString& text);

} // namespace tallowfern
