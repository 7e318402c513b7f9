#pragma once

#include "runtime/EventWriter.h"
#include "runtime/RequestReader.h"
#include "runtime/Turn.h"

#include <QSocketNotifier>

namespace tallowfern {

/// Reads requests from one descriptor and writes events to another, one request at a time, until the end of the input.
/// At rest it holds a notifier and nothing else. Main thread.
class AgentRuntime {
public:
    /// `onEnd` is called once, when the input has ended and no child is left.
    AgentRuntime(Clock& clock, ProcessLauncher& launcher, QString ownServerProgram, int input, int output,
        std::function<void()> onEnd);

private:
    void readInput();
    void accept(const RequestReader::Item& item);
    void reject(const std::optional<QUuid>& requestID, const QString& sentence);
    QCoro::Task<> answer(AgentRuntimeRequest request);
    QCoro::Task<> end();

    int m_input;
    EventWriter m_events;
    RequestReader m_requests;
    SessionStore m_sessions;
    AnswerStream m_answers;
    ModelServer m_server;
    SystemModel m_systemModel;
    TurnTools m_tools;
    std::function<void()> m_onEnd;
    bool m_isAnswering = false;
    std::stop_source m_ended;
    QSocketNotifier m_readable;
};

} // namespace tallowfern
