#pragma once

#include "foundation/EnumStrings.h"

#include <QString>

namespace tallowfern {

/// State of a Dictation.
struct CaptureStatus {
    enum class Case {
        Success, ///< `text` is the finished transcript, shown until the overlay hides
        Error, ///< `text` is the message on the overlay
        Idle, ///< nothing in progress
        Recording, ///< the microphone is open
        Processing, ///< the engine or the delivery is running
    };
    Case state = Case::Idle;
    QString text;

    bool operator==(const CaptureStatus&) const = default;

    /// The microphone is open or the words are on their way: a new start has to wait.
    bool isActive() const { return state == Case::Recording || state == Case::Processing; }
};

inline constexpr auto enumStrings(CaptureStatus::Case)
{
    using Case = CaptureStatus::Case;
    return std::array{EnumString{Case::Success, "success"}, EnumString{Case::Error, "error"},
        EnumString{Case::Idle, "idle"}, EnumString{Case::Recording, "recording"},
        EnumString{Case::Processing, "processing"}};
}

} // namespace tallowfern
