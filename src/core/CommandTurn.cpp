#include "core/CommandTurn.h"

#include "agent/CommandRequest.h"
#include "agent/protocol/AgentRuntimeError.h"
#include "core/SelectedModel.h"
#include "foundation/Words.h"

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

using Place = ErrorResolutionDestination::Place;
using Values = CommandStatus::Values;

constexpr double kLoading = 0.08; // of the progress, as the next
constexpr double kWriting = 0.38;

QString startingLine(const AgentModelDescriptor& model)
{
    switch (model.provider) {
    case AgentModelProvider::AppleSystem:
        return words("Checking Apple Intelligence");
    case AgentModelProvider::LlamaCPP:
        return words("Loading %1").arg(model.name);
    case AgentModelProvider::OpenAI:
    case AgentModelProvider::Gemini:
    case AgentModelProvider::Mistral:
        break;
    }
    return words("Connecting to %1 · %2").arg(label(writingProvider(model.provider)), model.name);
}

} // namespace

QString missingKeySentence(AgentWritingProvider provider)
{
    return words("Add your %1 API key before using this model.").arg(label(provider));
}

CommandTurn::CommandTurn(Collaborators collaborators)
    : m_with(std::move(collaborators))
{
}

void CommandTurn::run(CommandInstruction instruction)
{
    const auto model = selectedAgentModel(m_with.models, m_with.preferences);
    if (!model) {
        fail(words("Choose a writing model."), Place::CommandModels);
        return;
    }
    // From here on, because reading a key waits, perhaps for the user.
    const QUuid requestID = QUuid::createUuid();
    m_activeRequestID = requestID;
    write(std::move(instruction), *model, requestID);
}

bool CommandTurn::cancel()
{
    if (!m_activeRequestID)
        return false;
    m_with.runtime.cancel(*std::exchange(m_activeRequestID, std::nullopt));
    return true;
}

QCoro::Task<> CommandTurn::write(CommandInstruction instruction, AgentModelDescriptor model, QUuid requestID)
{
    const std::stop_token ended = m_lifetime.token();
    const auto isStale = [&] { return ended.stop_requested() || m_activeRequestID != requestID; };
    QString failure;
    try {
        const AgentWritingProvider provider = writingProvider(model.provider);
        std::optional<Secret> key;
        if (isCloud(model.provider)) {
            key = co_await m_with.cloudKeys.key(provider);
            if (isStale())
                co_return;
            if (!key) {
                fail(missingKeySentence(provider), {Place::APIKeys, provider});
                co_return;
            }
        }
        show(model);
        AgentRuntimeRequest asked = request(instruction, model, std::move(key), requestID);
        const auto onEvent = [this, ended, requestID](const AgentRuntimeEvent& event) {
            if (!ended.stop_requested() && m_activeRequestID == requestID)
                take(event);
        };
        const std::optional<QString> text = co_await m_with.runtime.run(std::move(asked), onEvent);
        if (isStale() || !text)
            co_return;
        m_activeRequestID.reset();
        deliver(std::move(instruction), *text);
        co_return;
    } catch (const LocalizedError& error) {
        failure = error.description();
    } catch (const std::exception&) {
        failure = words("Command failed.");
    }
    if (!isStale())
        fail(failure, Place::CommandModels);
}

AgentRuntimeRequest CommandTurn::request(const CommandInstruction& instruction, const AgentModelDescriptor& model,
    std::optional<Secret> key, const QUuid& requestID) const
{
    CommandTurnParts parts;
    parts.model = model;
    parts.conversationID = instruction.conversationID;
    parts.isContinuation = instruction.isContinuation;
    parts.instruction = instruction.text;
    parts.attachments = instruction.attachments;
    parts.profileID = instruction.profileID;
    parts.key = std::move(key);
    parts.llamaServer = m_with.find(u"llama-server"_s);
    parts.appleBridge = m_with.find(u"TallowfernAppleBridge"_s);
    AgentRuntimeRequest made
        = commandRequest(parts, m_with.preferences.agentSettings(), m_with.models, m_with.sessionPath);
    made.requestID = requestID;
    return made;
}

void CommandTurn::show(const AgentModelDescriptor& model)
{
    m_with.status.change([&](Values& values) {
        values.phase = AgentPhase::LoadingModel;
        values.phaseDetail = startingLine(model);
        values.streamedText.clear();
    });
    m_with.progress.begin();
    m_with.overlay.present();
}

void CommandTurn::take(const AgentRuntimeEvent& event)
{
    m_with.status.change([&](Values& values) {
        if (event.phase) {
            values.phase = *event.phase;
            if (*event.phase == AgentPhase::LoadingModel)
                values.progress = std::max(values.progress, kLoading);
            else if (*event.phase == AgentPhase::Generating)
                values.progress = std::max(values.progress, kWriting);
            else if (*event.phase == AgentPhase::Completed)
                values.progress = 1;
        }
        if (event.kind == AgentProtocolEventKind::Delta && event.text) {
            values.streamedText += *event.text;
            values.progress = AgentProgressEstimator::receivedDelta(values.progress, event.text->size());
        } else if (event.kind == AgentProtocolEventKind::Phase && event.text) {
            values.phaseDetail = *event.text;
        }
    });
}

QCoro::Task<> CommandTurn::deliver(CommandInstruction instruction, QString text)
{
    const std::stop_token ended = m_lifetime.token();
    m_isDelivering = true;
    const AgentSettings settings = m_with.preferences.agentSettings();
    m_with.status.change([&](Values& values) {
        values.resultText = text;
        values.streamedText = text;
    });
    m_with.conversations.addAssistantMessage(text, instruction.conversationID);

    std::optional<QString> replacing;
    std::optional<AgentTargetSnapshot> target = instruction.target;
    if (instruction.isContinuation) {
        if (const auto conversation = m_with.conversations.conversation(instruction.conversationID))
            replacing = conversation->lastPastedText;
        if (m_with.paste.lastTarget())
            target = m_with.paste.lastTarget();
    }
    AgentDeliveryResult delivered;
    bool copied = settings.copyResult;
    if (target) {
        delivered = co_await m_with.paste.deliver(text, settings, *target, replacing);
        if (ended.stop_requested())
            co_return;
        copied = copied || delivered.needsManualPaste;
    } else {
        if (settings.copyResult)
            m_with.pasteboard.replaceText(text);
        delivered.needsManualPaste = settings.automaticPaste;
    }
    m_with.conversations.setLastPastedText(
        delivered.pasted ? std::optional(text) : std::nullopt, instruction.conversationID);
    m_isDelivering = false;
    complete(delivered, copied, delivered.pasted ? target->applicationName : QString());
}

void CommandTurn::complete(const AgentDeliveryResult& delivered, bool copied, const QString& targetName)
{
    m_with.status.change([&](Values& values) {
        values.resultNeedsPaste = delivered.needsManualPaste;
        values.phase = AgentPhase::Completed;
        values.phaseDetail = words("Ready");
    });
    m_with.progress.finish(1);
    m_with.sounds.playCompletionSound();
    if (m_with.preferences.agentSettings().notifyOnCompletion)
        m_with.notifications.postCompletion(delivered.pasted, copied, targetName);
    onCompleted();
}

void CommandTurn::fail(const QString& message, ErrorResolutionDestination destination)
{
    m_activeRequestID.reset();
    m_with.progress.finish(0);
    onFailure(message, destination);
}

} // namespace tallowfern
