#pragma once

#include "foundation/EnumStrings.h"

namespace tallowfern {

// The stored strings are also the labels in the settings.

enum class OverlayAppearance { Automatic, Light, Dark };
inline constexpr auto enumStrings(OverlayAppearance)
{
    return std::array{EnumString{OverlayAppearance::Automatic, "Automatic"},
        EnumString{OverlayAppearance::Light, "Light"}, EnumString{OverlayAppearance::Dark, "Dark"}};
}

enum class OverlaySize { Classic, Mini };
inline constexpr auto enumStrings(OverlaySize)
{
    return std::array{EnumString{OverlaySize::Classic, "Classic"}, EnumString{OverlaySize::Mini, "Mini"}};
}

enum class CompletionSound { SoftPop, GlassChime, GentleTap };
inline constexpr auto enumStrings(CompletionSound)
{
    return std::array{EnumString{CompletionSound::SoftPop, "Soft pop"},
        EnumString{CompletionSound::GlassChime, "Glass chime"}, EnumString{CompletionSound::GentleTap, "Gentle tap"}};
}

} // namespace tallowfern
