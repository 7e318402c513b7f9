#include "core/CommandSession.h"

#include "agent/protocol/AgentRuntimeError.h"
#include "core/SelectedModel.h"
#include "foundation/Words.h"
#include "speech/TallowfernError.h"

#include <QFile>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

// Seconds for which the overlay stays after each ending.
constexpr double kHideAfterSuccess = 1.2;
constexpr double kHideAfterFailure = 3.0;
constexpr double kHideAfterCancel = 0.5;

constexpr double kFirstProgress = 0.04; // of the transcription, as the next
constexpr double kMostProgress = 0.98;

using Place = ErrorResolutionDestination::Place;
using Values = CommandStatus::Values;
using Cause = AgentRuntimeError::Cause;

QString sentence(Cause cause)
{
    return AgentRuntimeError(cause).description();
}

/// Pictures of a turn that never came about.
void removeFiles(const QList<AgentContextAttachment>& attachments)
{
    for (const AgentContextAttachment& each : attachments) {
        if (each.filePath)
            QFile::remove(*each.filePath);
    }
}

} // namespace

QString accessibilityRequirementMessage(const AgentSettings& settings)
{
    if (settings.includeSelectedText && settings.automaticPaste)
        return words("Accessibility access is required for selected-text context and automatic paste.");
    if (settings.includeSelectedText)
        return words("Accessibility access is required to send selected text to Command.");
    if (settings.automaticPaste)
        return words("Accessibility access is required for automatic paste.");
    return words("Accessibility access is not required.");
}

CommandSession::CommandSession(Collaborators collaborators)
    : m_with(std::move(collaborators))
{
    connect(&m_with.recorder, &AudioRecorder::interrupted, this, &CommandSession::stopAgentAndRun);
    connect(&m_with.preferences, &Preferences::agentSettingsChanged, this, [this] {
        if (!m_with.preferences.agentSettings().promptProfile(m_activeProfileID))
            m_activeProfileID.reset(); // removed: its follow-ups go on as regular ones
    });
    m_with.turn.onFailure = [this](const QString& message, ErrorResolutionDestination destination) {
        showAgentError(message, destination);
    };
    m_with.turn.onCompleted = [this] { m_with.overlay.scheduleOverlayHide(kHideAfterSuccess); };
}

void CommandSession::toggleAgentRecording(bool includeScreenshot, std::optional<QUuid> profileID)
{
    if (m_with.status.agentPhase() == AgentPhase::Listening)
        stopAgentAndRun();
    else
        startAgentRecording(includeScreenshot, std::nullopt, profileID);
}

void CommandSession::toggleAgentRecording(qint64 profileIndex)
{
    const auto& profiles = m_with.preferences.agentSettings().promptProfiles;
    if (profileIndex >= 0 && profileIndex < profiles.size())
        toggleAgentRecording(false, profiles[profileIndex].id);
}

void CommandSession::startAgentFollowUpRecording()
{
    const auto conversationID = m_with.status.values().activeConversationID;
    if (!conversationID)
        return;
    if (m_with.status.agentPhase() == AgentPhase::Listening)
        stopAgentAndRun();
    else
        startAgentRecording(false, conversationID, m_activeProfileID);
}

void CommandSession::startAgentRecording(
    bool includeScreenshot, std::optional<QUuid> conversationID, std::optional<QUuid> profileID)
{
    if (m_with.dictationIsBusy() || isBusy())
        return;
    m_with.overlay.cancelOverlayHide();
    m_with.dictationOverlayEnded();
    m_with.permissions.refreshPermissions();
    if (const auto refused = refusal(includeScreenshot)) {
        showAgentError(refused->message, refused->destination);
        return;
    }
    m_isStarting = true;
    record(includeScreenshot, {{}, conversationID, profileID});
}

std::optional<CommandSession::Refusal> CommandSession::refusal(bool includeScreenshot) const
{
    const AgentSettings& settings = m_with.preferences.agentSettings();
    if (!m_with.permissions.microphoneGranted())
        return Refusal{words("Microphone access is required."), Place::Permissions};
    if ((settings.includeSelectedText || settings.automaticPaste) && !m_with.permissions.accessibilityGranted())
        return Refusal{accessibilityRequirementMessage(settings), Place::Permissions};
    if (auto refused = refusalByModel(includeScreenshot))
        return refused;
    const auto speechModel = selectedModel(m_with.speechModels, m_with.preferences);
    if (!speechModel || !m_with.speechModels.isInstalled(*speechModel))
        return Refusal{sentence(Cause::SpeechModelUnavailable), Place::DictationModels};
    return std::nullopt;
}

std::optional<CommandSession::Refusal> CommandSession::refusalByModel(bool includeScreenshot) const
{
    const auto model = selectedAgentModel(m_with.models, m_with.preferences);
    if (!model)
        return Refusal{words("Choose a writing model."), Place::CommandModels};
    if (includeScreenshot && !model->capabilities.images)
        return Refusal{sentence(Cause::ScreenshotsUnsupported), Place::CommandModels};
    const AgentWritingProvider provider = writingProvider(model->provider);
    if (!m_with.cloudKeys.isAPIKeyConfigured(provider))
        return Refusal{missingKeySentence(provider), {Place::APIKeys, provider}};
    if (!m_with.models.isAvailable(*model))
        return Refusal{words("Download %1 before using it.").arg(model->name), Place::CommandModels};
    return std::nullopt;
}

QCoro::Task<> CommandSession::record(bool includeScreenshot, Take take)
{
    const std::stop_token ended = m_lifetime.token();
    const bool includeSelectedText = m_with.preferences.agentSettings().includeSelectedText;
    QString failure;
    try {
        const AgentInvocationContext context = co_await m_with.context.capture(includeSelectedText, includeScreenshot);
        if (ended.stop_requested())
            co_return;
        m_isStarting = false;
        take.attachments = context.attachments;
        m_take = take;
        m_target = context.target;
        m_with.overlay.setTargetApplicationName(context.target.applicationName);
        m_with.recorder.start();
        listen(includeScreenshot);
        co_return;
    } catch (const LocalizedError& error) {
        failure = error.description();
    } catch (const std::exception&) {
        failure = words("Command failed.");
    }
    if (ended.stop_requested())
        co_return;
    m_isStarting = false;
    discardTake();
    showAgentError(failure, includeScreenshot ? Place::Permissions : Place::CommandSettings);
}

void CommandSession::listen(bool includeScreenshot)
{
    m_with.status.change([&](Values& values) {
        values.phase = AgentPhase::Listening;
        values.phaseDetail = listeningLine(includeScreenshot);
        values.streamedText.clear();
        values.resultNeedsPaste = false;
    });
    m_with.errors.setErrorResolution(std::nullopt);
    m_with.hotKeys.enableCancel();
    m_with.overlay.present();
    if (const auto model = selectedModel(m_with.speechModels, m_with.preferences))
        m_with.warmer.warm(m_with.speechModels.localPath(*model));
}

QString CommandSession::listeningLine(bool includeScreenshot) const
{
    const auto profile = m_with.preferences.agentSettings().promptProfile(m_take.profileID);
    if (profile && !profile->name.trimmed().isEmpty())
        return profile->name;
    return includeScreenshot ? words("Window attached") : words("Speak your writing instruction");
}

void CommandSession::stopAgentAndRun()
{
    if (m_with.status.agentPhase() != AgentPhase::Listening)
        return;
    const auto recording = m_with.recorder.stop();
    const auto model = selectedModel(m_with.speechModels, m_with.preferences);
    if (!recording || !model)
        return; // the cancel shortcut is the way out
    m_with.hotKeys.disableCancel();
    m_with.status.change([&](Values& values) {
        values.phase = AgentPhase::Transcribing;
        values.phaseDetail = model->name;
    });
    m_with.overlay.setTranscriptionProgress(kFirstProgress);
    m_with.overlay.present();
    transcribe(*recording, *model, std::exchange(m_take, {}));
}

QCoro::Task<> CommandSession::transcribe(AudioRecorder::FinishedRecording recording, SpeechModel model, Take take)
{
    const std::stop_token ended = m_lifetime.token();
    const auto report = [this, ended](double fraction) {
        if (!ended.stop_requested() && m_with.status.agentPhase() == AgentPhase::Transcribing)
            m_with.overlay.setTranscriptionProgress(std::min(fraction, kMostProgress));
    };
    QString failure;
    try {
        const QString modelPath = m_with.speechModels.localPath(model);
        const QStringList vocabulary = m_with.preferences.vocabulary();
        const QString transcript
            = co_await m_with.runner.transcribe(recording.path, model, modelPath, vocabulary, report);
        QFile::remove(recording.path);
        if (ended.stop_requested())
            co_return;
        const QString instruction = transcript.trimmed();
        if (!instruction.isEmpty()) {
            runInstruction(instruction, take);
            co_return;
        }
        failure = sentence(Cause::NoInstruction);
    } catch (const LocalizedError& error) {
        failure = error.description();
    } catch (const std::exception&) {
        failure = TallowfernError::transcriptionFailed({}).description();
    }
    QFile::remove(recording.path);
    removeFiles(take.attachments);
    if (!ended.stop_requested())
        showAgentError(failure, Place::CommandModels);
}

void CommandSession::discardTake()
{
    removeFiles(std::exchange(m_take, {}).attachments);
}

void CommandSession::runInstruction(const QString& instruction, Take take)
{
    const bool isContinuation = take.conversationID.has_value();
    const QUuid conversationID = take.conversationID.value_or(QUuid::createUuid());
    take.attachments = persist(take.attachments, conversationID);
    if (isContinuation)
        m_with.conversations.addUserMessage(instruction, take.attachments, conversationID);
    else
        m_with.conversations.add(newConversation(conversationID, instruction, take.attachments,
            m_with.overlay.targetApplicationName(), m_with.clock.wallNow()));
    m_with.status.change([&](Values& values) { values.activeConversationID = conversationID; });
    run(instruction, take, conversationID, isContinuation);
}

void CommandSession::run(const QString& instruction, const Take& take, const QUuid& conversationID, bool isContinuation)
{
    m_activeProfileID = take.profileID;
    m_with.turn.run({instruction, conversationID, take.attachments, isContinuation, take.profileID, m_target});
}

void CommandSession::submitAgentFollowUp(const QString& text, const QList<AgentContextAttachment>& attachments)
{
    const QString instruction = text.trimmed();
    const auto conversationID = m_with.status.values().activeConversationID;
    if (instruction.isEmpty() || !conversationID || isBusy())
        return;
    Take take;
    take.profileID = m_activeProfileID;
    take.attachments = persist(attachments, *conversationID);
    m_with.conversations.addUserMessage(instruction, take.attachments, *conversationID);
    run(instruction, take, *conversationID, true);
}

/// A failed move leaves the file, and with it the attachment, where it was promised to be.
QList<AgentContextAttachment> CommandSession::persist(
    const QList<AgentContextAttachment>& attachments, const QUuid& conversationID) const
{
    QList<AgentContextAttachment> kept = attachments;
    for (AgentContextAttachment& each : kept) {
        if (each.filePath)
            each.filePath = m_with.conversations.adoptAttachment(*each.filePath, conversationID);
    }
    return kept;
}

QCoro::Task<AgentContextAttachment> CommandSession::captureAgentScreenshotAttachment()
{
    const auto model = selectedAgentModel(m_with.models, m_with.preferences);
    if (!model || !model->capabilities.images)
        throw AgentRuntimeError(Cause::ScreenshotsUnsupported);
    const AgentInvocationContext context = co_await m_with.context.capture(false, true);
    for (const AgentContextAttachment& each : context.attachments) {
        if (each.kind == AgentAttachmentKind::Screenshot)
            co_return each;
    }
    throw AgentRuntimeError(Cause::ScreenRecordingDenied);
}

void CommandSession::openAgentConversation(const QUuid& id)
{
    m_with.status.change([&](Values& values) { values.activeConversationID = id; });
}

void CommandSession::copyAgentResult()
{
    const QString text = m_with.status.values().resultText;
    if (text.isEmpty())
        return;
    m_with.pasteboard.replaceText(text);
    m_with.status.change([](Values& values) { values.resultNeedsPaste = false; });
}

void CommandSession::pasteAgentResult()
{
    const QString text = m_with.status.values().resultText;
    if (text.isEmpty() || !m_with.keyPoster.canPost())
        return;
    m_with.pasteboard.replaceText(text);
    const auto& target = m_with.paste.lastTarget() ? m_with.paste.lastTarget() : m_target;
    pasteInto(target ? target->application : std::nullopt);
}

QCoro::Task<> CommandSession::pasteInto(std::optional<RunningApplication> application)
{
    const std::stop_token ended = m_lifetime.token();
    const bool pasted = co_await m_with.textDelivery.paste(application);
    if (!ended.stop_requested())
        m_with.status.change([pasted](Values& values) { values.resultNeedsPaste = !pasted; });
}

bool CommandSession::cancelRecording()
{
    if (m_with.status.agentPhase() == AgentPhase::Listening) {
        m_with.recorder.cancel();
        discardTake();
        end(AgentPhase::Cancelled, words("Cancelled"), kHideAfterCancel);
        return true;
    }
    if (!m_with.turn.cancel())
        return false;
    end(AgentPhase::Cancelled, words("Cancelled"), kHideAfterCancel);
    return true;
}

void CommandSession::showAgentError(const QString& message, ErrorResolutionDestination destination)
{
    m_with.errors.setErrorResolution(ErrorResolution(message, destination));
    end(AgentPhase::Error, message, kHideAfterFailure);
    m_with.overlay.present();
}

void CommandSession::end(AgentPhase phase, const QString& line, double hideDelay)
{
    m_with.progress.finish(0);
    m_with.hotKeys.disableCancel();
    m_with.status.change([&](Values& values) {
        values.phase = phase;
        values.phaseDetail = line;
    });
    m_with.overlay.scheduleOverlayHide(hideDelay);
}

} // namespace tallowfern
