#pragma once

#include "agent/AgentSettings.h"
#include "agent/models/AgentModelStore.h"
#include "agent/protocol/AgentRuntimeRequest.h"

namespace tallowfern {

/// One turn of Command, as it was asked.
struct CommandTurnParts {
    AgentModelDescriptor model;
    QUuid conversationID;
    bool isContinuation = false;
    QString instruction;
    QList<AgentContextAttachment> attachments;
    std::optional<QUuid> profileID;
    std::optional<Secret> key; ///< of the model's service; carried for cloud models only
    std::optional<QString> llamaServer; ///< path of the program, where there is one
    std::optional<QString> appleBridge;
};

/// What the runtime is told for it, with a fresh identifier. `sessionPath` is the runtime's own database.
AgentRuntimeRequest commandRequest(const CommandTurnParts& parts, const AgentSettings& settings,
    const AgentModelStore& models, const QString& sessionPath);

} // namespace tallowfern
