#pragma once

#include "agent/protocol/AgentConversation.h"
#include "agent/protocol/AgentTypes.h"

namespace tallowfern {

enum class AgentProtocolEventKind { Phase, Delta, Completed, Warning, Error, Conversations };
inline constexpr auto enumStrings(AgentProtocolEventKind)
{
    using E = AgentProtocolEventKind;
    return std::array{EnumString{E::Phase, "phase"}, EnumString{E::Delta, "delta"},
        EnumString{E::Completed, "completed"}, EnumString{E::Warning, "warning"}, EnumString{E::Error, "error"},
        EnumString{E::Conversations, "conversations"}};
}

/// What the agent runtime tells. One Completed or one Error ends a request.
struct AgentRuntimeEvent {
    qint64 version = 1; ///< read, and compared with nothing
    std::optional<QUuid> requestID; ///< nothing: the event is about the runtime itself
    AgentProtocolEventKind kind = AgentProtocolEventKind::Phase;
    std::optional<AgentPhase> phase;
    std::optional<QString> text; ///< detail, piece, whole result or failure, by kind
    std::optional<QString> code;
    std::optional<QList<AgentConversation>> conversations;

    bool operator==(const AgentRuntimeEvent&) const = default;
    static constexpr auto jsonFields()
    {
        using S = AgentRuntimeEvent;
        return std::tuple{json::required("version", &S::version), json::tolerated("requestID", &S::requestID),
            json::required("kind", &S::kind), json::tolerated("phase", &S::phase), json::tolerated("text", &S::text),
            json::tolerated("code", &S::code), json::tolerated("conversations", &S::conversations)};
    }
};

} // namespace tallowfern
