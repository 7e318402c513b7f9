#pragma once

#include "agent/protocol/AgentConversation.h"
#include "agent/protocol/AgentModelDescriptor.h"
#include "agent/protocol/AgentTypes.h"

namespace tallowfern {

/// Only Run and Continue are sent today; the other five are reserved words.
enum class AgentProtocolCommand { Run, Continue, Cancel, List, Load, Delete, Shutdown };
inline constexpr auto enumStrings(AgentProtocolCommand)
{
    using E = AgentProtocolCommand;
    return std::array{EnumString{E::Run, "run"}, EnumString{E::Continue, "continue"}, EnumString{E::Cancel, "cancel"},
        EnumString{E::List, "list"}, EnumString{E::Load, "load"}, EnumString{E::Delete, "delete"},
        EnumString{E::Shutdown, "shutdown"}};
}

/// One turn asked of the agent runtime. All paths are absolute.
struct AgentRuntimeRequest {
    qint64 version = 1;
    QUuid requestID; ///< fresh for each request; the events quote it
    AgentProtocolCommand command = AgentProtocolCommand::Run;
    std::optional<QUuid> conversationID;
    std::optional<AgentModelDescriptor> model;
    std::optional<QString> instruction;
    std::optional<QString> trustedInstructions;
    QList<AgentContextAttachment> attachments;
    std::optional<QString> modelPath;
    std::optional<QString> projectorPath;
    std::optional<QString> llamaServerPath;
    std::optional<QString> appleBridgePath;
    std::optional<QString> sessionPath; ///< the runtime's own database
    std::optional<Secret> cloudAPIKey;
    std::optional<QString> personalContext;
    std::optional<AgentReasoningEffort> reasoningEffort; ///< for cloud models
    std::optional<bool> ephemeralSession; ///< true: nothing of this turn is kept

    bool operator==(const AgentRuntimeRequest&) const = default;
    static constexpr auto jsonFields()
    {
        using S = AgentRuntimeRequest;
        return std::tuple{json::required("version", &S::version), json::required("requestID", &S::requestID),
            json::required("command", &S::command), json::tolerated("conversationID", &S::conversationID),
            json::tolerated("model", &S::model), json::tolerated("instruction", &S::instruction),
            json::tolerated("trustedInstructions", &S::trustedInstructions),
            json::required("attachments", &S::attachments), json::tolerated("modelPath", &S::modelPath),
            json::tolerated("projectorPath", &S::projectorPath),
            json::tolerated("llamaServerPath", &S::llamaServerPath),
            json::tolerated("appleBridgePath", &S::appleBridgePath), json::tolerated("sessionPath", &S::sessionPath),
            json::tolerated("cloudAPIKey", &S::cloudAPIKey), json::tolerated("personalContext", &S::personalContext),
            json::tolerated("reasoningEffort", &S::reasoningEffort),
            json::tolerated("ephemeralSession", &S::ephemeralSession)};
    }
};

} // namespace tallowfern
