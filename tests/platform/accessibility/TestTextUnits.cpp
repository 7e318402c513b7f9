#include "platform/linux/accessibility/TextUnits.h"

#include <gtest/gtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

TEST(TextUnits, AreFoundPerObjectAndConverted)
{
    const QString plain = u"hello é漢"_s;
    const QString emoji = u"a😀b😀c"_s; // 5 code points, 7 units
    const QString padded = u"a😀\uFEFFb😀\uFEFFc"_s;
    struct Case {
        const char* toolkit;
        QString text;
        qint64 characterCount;
        qint64 offset;
        std::optional<qint64> expected;
    };
    const Case cases[] = {
        {"no characters", u""_s, 0, 0, 0},
        {"units agree", plain, 8, 8, 8},
        {"units agree, whatever the count", plain, 12, 8, 8},
        {"code points", emoji, 5, 1, 1},
        {"code points, behind the first", emoji, 5, 2, 3},
        {"code points, at the end", emoji, 5, 5, 7},
        {"code points, outside", emoji, 5, 6, std::nullopt},
        {"UTF-16", emoji, 7, 3, 3},
        {"UTF-16, at the end", emoji, 7, 7, 7},
        {"UTF-16, outside", emoji, 7, 8, std::nullopt},
        {"padded", padded, 7, 3, 3},
        {"padded, at the end", padded, 7, 7, 7},
        {"no unit fits", emoji, 6, 1, std::nullopt},
        {"before the text", emoji, 5, -1, std::nullopt},
    };
    for (const Case& each : cases) {
        const auto unit = textUnit(each.characterCount, each.text);
        const auto offset = unit ? utf16Offset(each.offset, *unit, withoutPadding(each.text)) : std::nullopt;
        EXPECT_EQ(offset, each.expected) << each.toolkit;
        const auto back = offset ? countedOffset(*offset, *unit, withoutPadding(each.text)) : each.offset;
        EXPECT_EQ(back, each.offset) << each.toolkit;
    }
    for (const qint64 outside : {-1, 2, 8})
        EXPECT_FALSE(countedOffset(outside, TextUnit::CodePoint, emoji)) << outside;
    EXPECT_FALSE(countedOffset(5, TextUnit::Utf16, emoji)) << "within a character";
    EXPECT_EQ(withoutPadding(padded), emoji);
    EXPECT_EQ(withoutPadding(emoji), emoji);
    const QString halfPadded = u"a😀\uFEFFb😀c"_s;
    EXPECT_EQ(withoutPadding(halfPadded), halfPadded) << "the user's own mark";
}

} // namespace tallowfern
