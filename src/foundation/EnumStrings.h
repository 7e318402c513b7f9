#pragma once

#include <QLatin1StringView>
#include <QString>

#include <array>
#include <optional>
#include <utility>

namespace tallowfern {

/// An enumeration that is stored as strings has one table, used in both directions:
///     inline constexpr auto enumStrings(OverlaySize) { return std::array{EnumString{OverlaySize::Classic, "Classic"},
///     …}; }
template <class E>
struct EnumString {
    E value;
    const char* string;
};
template <class E>
EnumString(E, const char*) -> EnumString<E>;

template <class E>
concept StringEnum = requires(E e)
{
    enumStrings(e);
};

template <StringEnum E>
QString enumToString(E value)
{
    for (const auto& entry : enumStrings(value)) {
        if (entry.value == value)
            return QString::fromLatin1(entry.string);
    }
    return {};
}

/// Matched exactly; nothing for an unknown string.
template <StringEnum E>
std::optional<E> enumFromString(const QString& string)
{
    for (const auto& entry : enumStrings(E{})) {
        if (string == QLatin1StringView(entry.string))
            return entry.value;
    }
    return std::nullopt;
}

} // namespace tallowfern
