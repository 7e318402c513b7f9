#pragma once

#include "agent/AgentSettings.h"
#include "foundation/EnumStrings.h"

#include <QString>
#include <QUuid>

namespace tallowfern {

/// Where a tap on the overlay leads.
struct ErrorResolutionDestination {
    enum class Place { APIKeys, DictationModels, CommandModels, CommandSettings, Permissions };
    Place place = Place::Permissions;
    AgentWritingProvider provider = AgentWritingProvider::Local; ///< with APIKeys only

    /// From a place alone in most cases.
    ErrorResolutionDestination(Place where, AgentWritingProvider whose = AgentWritingProvider::Local)
        : place(where)
        , provider(whose)
    {
    }
    bool operator==(const ErrorResolutionDestination&) const = default;
};

inline constexpr auto enumStrings(ErrorResolutionDestination::Place)
{
    using Place = ErrorResolutionDestination::Place;
    return std::array{EnumString{Place::APIKeys, "apiKeys"}, EnumString{Place::DictationModels, "dictationModels"},
        EnumString{Place::CommandModels, "commandModels"}, EnumString{Place::CommandSettings, "commandSettings"},
        EnumString{Place::Permissions, "permissions"}};
}

/// A failure's sentence and the way to mend it. Each failure has a fresh id, so that one with the same text is new.
struct ErrorResolution {
    QUuid id = QUuid::createUuid();
    QString message;
    ErrorResolutionDestination destination;

    ErrorResolution(QString sentence, ErrorResolutionDestination where)
        : message(std::move(sentence))
        , destination(where)
    {
    }
    bool operator==(const ErrorResolution&) const = default;
};

enum class PermissionAttention { Microphone, Accessibility, MicrophoneAndAccessibility };

} // namespace tallowfern
