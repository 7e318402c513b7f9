#include "agent/CommandRequest.h"

#include "agent/ReasoningEfforts.h"

namespace tallowfern {

AgentRuntimeRequest commandRequest(const CommandTurnParts& parts, const AgentSettings& settings,
    const AgentModelStore& models, const QString& sessionPath)
{
    AgentRuntimeRequest request;
    request.requestID = QUuid::createUuid();
    request.command = parts.isContinuation ? AgentProtocolCommand::Continue : AgentProtocolCommand::Run;
    request.conversationID = parts.conversationID;
    request.model = parts.model;
    request.instruction = parts.instruction;
    request.trustedInstructions = settings.composedTrustedInstructions(parts.profileID);
    request.attachments = parts.attachments;
    if (const auto artifact = parts.model.modelArtifact())
        request.modelPath = models.localPath(parts.model, *artifact);
    const auto projector = parts.model.projectorArtifact();
    if (parts.model.capabilities.images && projector)
        request.projectorPath = models.localPath(parts.model, *projector);
    request.llamaServerPath = parts.llamaServer;
    request.appleBridgePath = parts.appleBridge;
    request.sessionPath = sessionPath;
    request.personalContext = settings.personalContext;
    if (isCloud(parts.model.provider)) {
        request.cloudAPIKey = parts.key;
        request.reasoningEffort = reasoningEffort(settings, writingProvider(parts.model.provider));
    }
    return request;
}

} // namespace tallowfern
