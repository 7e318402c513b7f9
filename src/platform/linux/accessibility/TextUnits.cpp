#include "platform/linux/accessibility/TextUnits.h"

namespace tallowfern {

namespace {

constexpr char16_t kPadding = u'\uFEFF';

qint64 codePointCount(const QString& text)
{
    qint64 count = 0;
    for (const QChar unit : text)
        count += unit.isLowSurrogate() ? 0 : 1;
    return count;
}

} // namespace

QString withoutPadding(const QString& text)
{
    QString stripped;
    stripped.reserve(text.size());
    for (qsizetype place = 0; place < text.size(); ++place) {
        stripped += text[place];
        if (!text[place].isLowSurrogate())
            continue;
        if (place + 1 == text.size() || text[place + 1] != kPadding)
            return text;
        ++place;
    }
    return stripped;
}

std::optional<TextUnit> textUnit(qint64 characterCount, const QString& text)
{
    // Padded text has both counts right; only its UTF-16 units are those of the text itself.
    if (characterCount == withoutPadding(text).size())
        return TextUnit::Utf16;
    const qint64 codePoints = codePointCount(text);
    if (characterCount == codePoints || codePoints == text.size())
        return TextUnit::CodePoint;
    return std::nullopt;
}

std::optional<qint64> utf16Offset(qint64 offset, TextUnit unit, const QString& text)
{
    if (offset < 0)
        return std::nullopt;
    if (unit == TextUnit::Utf16)
        return offset <= text.size() ? std::optional(offset) : std::nullopt;
    qsizetype place = 0;
    for (; offset > 0 && place < text.size(); --offset)
        place += text[place].isHighSurrogate() ? 2 : 1;
    return offset == 0 ? std::optional<qint64>(place) : std::nullopt;
}

std::optional<qint64> countedOffset(qint64 utf16Offset, TextUnit unit, const QString& text)
{
    if (utf16Offset < 0 || utf16Offset > text.size())
        return std::nullopt;
    if (utf16Offset > 0 && utf16Offset < text.size() && text[utf16Offset].isLowSurrogate())
        return std::nullopt;
    return unit == TextUnit::Utf16 ? utf16Offset : codePointCount(text.left(utf16Offset));
}

} // namespace tallowfern
