#pragma once

#include "core/CommandTurn.h"
#include "core/ErrorRouting.h"
#include "core/Permissions.h"
#include "shortcuts/HotKeyManager.h"
#include "speech/AudioRecorder.h"
#include "speech/ModelStore.h"
#include "speech/ModelWarmer.h"
#include "speech/WhisperRunner.h"

#include <QObject>

#include <functional>

namespace tallowfern {

/// Command from the shortcut to the run: guards, recording, the spoken instruction, follow-ups, cancelling, failures.
/// Main thread; every operation that is no coroutine returns at once.
class CommandSession : public QObject {
    Q_OBJECT
public:
    struct Collaborators {
        CommandStatus& status;
        CommandProgress& progress;
        CommandTurn& turn;
        AgentContextCaptureService& context;
        AgentPasteCoordinator& paste;
        Preferences& preferences;
        Permissions& permissions;
        ErrorRouting& errors;
        OverlayPresenter& overlay;
        HotKeyManager& hotKeys;
        AudioRecorder& recorder;
        WhisperRunner& runner;
        ModelWarmer& warmer;
        ModelStore& speechModels;
        const AgentModelStore& models;
        AgentConversationStore& conversations;
        const CloudKeys& cloudKeys;
        Pasteboard& pasteboard;
        TextDelivery& textDelivery;
        KeyPoster& keyPoster;
        Clock& clock;
        std::function<bool()> dictationIsBusy; ///< the two modes exclude each other
        std::function<void()> dictationOverlayEnded; ///< what Dictation still shows makes way
    };
    explicit CommandSession(Collaborators collaborators);

    /// Whether Dictation has to wait: published phases, and what has begun and is not published yet.
    bool isBusy() const { return m_isStarting || m_with.status.isActive() || m_with.turn.isRunning(); }

    /// Starts, or stops and writes, by phase.
    void toggleAgentRecording(bool includeScreenshot, std::optional<QUuid> profileID);
    /// By the place of a profile in the settings; nothing for one that is not there.
    void toggleAgentRecording(qint64 profileIndex);
    /// Speaks a follow-up to the conversation on show, or stops and writes.
    void startAgentFollowUpRecording();
    /// Writes a follow-up to the conversation on show.
    void submitAgentFollowUp(const QString& text, const QList<AgentContextAttachment>& attachments);
    /// A picture of the window in front. Throws a LocalizedError.
    QCoro::Task<AgentContextAttachment> captureAgentScreenshotAttachment();
    void openAgentConversation(const QUuid& id);
    void copyAgentResult();
    void pasteAgentResult();
    /// True when something of Command was ended.
    bool cancelRecording();

private:
    /// Belongs to the recording under way.
    struct Take {
        QList<AgentContextAttachment> attachments;
        std::optional<QUuid> conversationID;
        std::optional<QUuid> profileID;
    };
    struct Refusal {
        QString message;
        ErrorResolutionDestination destination;
    };

    void startAgentRecording(
        bool includeScreenshot, std::optional<QUuid> conversationID, std::optional<QUuid> profileID);
    std::optional<Refusal> refusal(bool includeScreenshot) const;
    std::optional<Refusal> refusalByModel(bool includeScreenshot) const;
    QCoro::Task<> record(bool includeScreenshot, Take take);
    void listen(bool includeScreenshot);
    QString listeningLine(bool includeScreenshot) const;
    void stopAgentAndRun();
    QCoro::Task<> transcribe(AudioRecorder::FinishedRecording recording, SpeechModel model, Take take);
    void discardTake();
    void runInstruction(const QString& instruction, Take take);
    void run(const QString& instruction, const Take& take, const QUuid& conversationID, bool isContinuation);
    QList<AgentContextAttachment> persist(
        const QList<AgentContextAttachment>& attachments, const QUuid& conversationID) const;
    QCoro::Task<> pasteInto(std::optional<RunningApplication> application);
    void showAgentError(const QString& message, ErrorResolutionDestination destination);
    void end(AgentPhase phase, const QString& line, double hideDelay);

    Collaborators m_with;
    Take m_take;
    std::optional<AgentTargetSnapshot> m_target; ///< of the newest recording
    std::optional<QUuid> m_activeProfileID; ///< of the last run, for its follow-ups
    bool m_isStarting = false;
    Lifetime m_lifetime;
};

/// What has to be granted, by what the settings ask for.
QString accessibilityRequirementMessage(const AgentSettings& settings);

} // namespace tallowfern
