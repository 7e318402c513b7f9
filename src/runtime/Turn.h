#pragma once

#include "agent/protocol/AgentRuntimeEvent.h"
#include "agent/protocol/AgentRuntimeRequest.h"
#include "runtime/DeltaGate.h"
#include "runtime/PromptComposer.h"
#include "runtime/SystemModel.h"
#include "runtime/providers/AnswerStream.h"
#include "runtime/server/ModelServer.h"

namespace tallowfern {

/// What a turn works with; all of it outlives the turn.
struct TurnTools {
    using Answer = std::function<QCoro::Task<QString>(AnswerRequest, AnswerStream::Listener, std::stop_token)>;
    using Serve = std::function<QCoro::Task<ServedModel>(ModelFiles, std::stop_token)>;
    using ChooseSystemModel = std::function<QCoro::Task<SystemModel::Choice>(
        std::optional<QString> bridgePath, std::optional<QString> sessionPath, std::stop_token)>;

    Clock& clock;
    SessionStore& sessions;
    Answer answer;
    Serve serve;
    std::function<QCoro::Task<std::optional<QString>>()> whyServerEnded; ///< nothing when it lives
    std::function<void()> restServer; ///< the turn needs it no more
    ChooseSystemModel chooseSystemModel;
    QString ownServerProgram; ///< llama-server where the request names none
};

/// Answers one request. We always answer before the application's own watchdogs, which would throw away the loaded
/// model with us.
class Turn {
public:
    using Emit = std::function<void(AgentRuntimeEvent)>;

    static constexpr double kSecondsToGenerating = 28;
    static constexpr double kSecondsInAll = 115;
    static constexpr double kSecondsInAllEphemeral = 45; ///< raw words now beat clean words in two minutes

    Turn(TurnTools tools, AgentRuntimeRequest request, Emit emitEvent);

    /// Ends with one Completed or one Error, or with nothing when `stop` was requested. Never throws.
    QCoro::Task<> run(std::stop_token stop);

private:
    QCoro::Task<QString> answer(std::stop_token stop);
    QCoro::Task<AnswerRequest> findService(std::stop_token stop);
    QCoro::Task<QString> speak(AnswerRequest service, std::stop_token stop);
    using Sentence = QString (Turn::*)() const;
    QCoro::Task<> endAfter(double seconds, Sentence sentence, std::stop_source ending, std::stop_token stop);
    void rejectWhatCannotBe() const;
    bool isKept() const;
    void keep(AgentMessageRole role, const QString& text, const QList<AgentContextAttachment>& attachments);
    void tell(AgentProtocolEventKind kind, std::optional<QString> text = {}, std::optional<AgentPhase> phase = {});
    void tellGenerating();
    QString notLoadedSentence() const;
    QString notFinishedSentence() const;

    TurnTools m_tools;
    AgentRuntimeRequest m_request;
    Emit m_emit;
    QList<Exchange> m_earlier;
    QString m_modelName; ///< as sentences say it
    qint64 m_contextTokens = 0;
    bool m_hasSpoken = false; ///< a piece of the answer came
    bool m_isGenerating = false;
    std::optional<QString> m_deadlineSentence;
    DeltaGate m_gate;
    TaskSlot m_generatingDeadline;
    TaskSlot m_deadline;
};

} // namespace tallowfern
