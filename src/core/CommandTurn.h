#pragma once

#include "agent/AgentConversationStore.h"
#include "agent/AgentNotificationService.h"
#include "agent/AgentPasteCoordinator.h"
#include "agent/AgentRuntimeService.h"
#include "agent/models/AgentModelStore.h"
#include "core/CloudKeys.h"
#include "core/CommandProgress.h"
#include "core/CompletionSounds.h"
#include "core/ErrorResolution.h"
#include "core/OverlayPresenter.h"
#include "core/Preferences.h"

#include <functional>

namespace tallowfern {

/// What is asked of the writing model.
struct CommandInstruction {
    QString text;
    QUuid conversationID;
    QList<AgentContextAttachment> attachments;
    bool isContinuation = false;
    std::optional<QUuid> profileID;
    std::optional<AgentTargetSnapshot> target; ///< of the recording, or of the one before
};

/// One run: from an instruction to its text at the cursor. What arrives for a run that is no longer the live one is
/// dropped. Main thread; every operation returns at once.
class CommandTurn {
public:
    struct Collaborators {
        Clock& clock;
        CommandStatus& status;
        CommandProgress& progress;
        Preferences& preferences;
        OverlayPresenter& overlay;
        const AgentModelStore& models;
        AgentConversationStore& conversations;
        AgentRuntimeService& runtime;
        CloudKeys& cloudKeys;
        AgentPasteCoordinator& paste;
        Pasteboard& pasteboard;
        CompletionSounds& sounds;
        AgentNotificationService& notifications;
        AgentRuntimeService::FindProgram find;
        QString sessionPath;
    };
    explicit CommandTurn(Collaborators collaborators);

    /// Set once by the owner: shows what went wrong, and hides the overlay after a while.
    std::function<void(const QString& message, ErrorResolutionDestination destination)> onFailure;
    std::function<void()> onCompleted;

    void run(CommandInstruction instruction);
    /// From run() to the moment when the text was delivered.
    bool isRunning() const { return m_isDelivering || m_activeRequestID; }
    /// Ends the live run; false when there is none that can still be ended.
    bool cancel();

private:
    QCoro::Task<> write(CommandInstruction instruction, AgentModelDescriptor model, QUuid requestID);
    AgentRuntimeRequest request(const CommandInstruction& instruction, const AgentModelDescriptor& model,
        std::optional<Secret> key, const QUuid& requestID) const;
    void show(const AgentModelDescriptor& model);
    void take(const AgentRuntimeEvent& event);
    QCoro::Task<> deliver(CommandInstruction instruction, QString text);
    void complete(const AgentDeliveryResult& delivered, bool copied, const QString& targetName);
    void fail(const QString& message, ErrorResolutionDestination destination);

    Collaborators m_with;
    std::optional<QUuid> m_activeRequestID; ///< the one live run
    bool m_isDelivering = false;
    Lifetime m_lifetime;
};

/// "Add your OpenAI API key before using this model."
QString missingKeySentence(AgentWritingProvider provider);

} // namespace tallowfern
