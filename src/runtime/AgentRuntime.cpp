#include "runtime/AgentRuntime.h"

#include "foundation/Words.h"

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace tallowfern {

namespace {

/// The application shows the last lines of our standard error to the user, so nothing else is written there.
void complain(const QString& sentence)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(sentence));
}

} // namespace

AgentRuntime::AgentRuntime(Clock& clock, ProcessLauncher& launcher, QString ownServerProgram, int input, int output,
    std::function<void()> onEnd)
    : m_input(input)
    , m_events(output)
    , m_sessions(complain)
    , m_answers(clock)
    , m_server(clock, launcher)
    , m_systemModel(clock, launcher)
    , m_tools{clock, m_sessions,
          [this](AnswerRequest request, AnswerStream::Listener listener, std::stop_token stop) {
              return m_answers.answer(std::move(request), std::move(listener), std::move(stop));
          },
          [this](ModelFiles files, std::stop_token stop) { return m_server.serve(std::move(files), std::move(stop)); },
          [this] { return m_server.endSentence(); }, [this] { m_server.rest(); },
          [this](std::optional<QString> bridge, std::optional<QString> sessions, std::stop_token stop) {
              return m_systemModel.choose(std::move(bridge), std::move(sessions), std::move(stop));
          },
          std::move(ownServerProgram)}
    , m_onEnd(std::move(onEnd))
    , m_readable(input, QSocketNotifier::Read)
{
    QObject::connect(&m_readable, &QSocketNotifier::activated, &m_readable, [this] { readInput(); });
}

void AgentRuntime::readInput()
{
    QByteArray bytes(64 << 10, Qt::Uninitialized);
    const ssize_t count = ::read(m_input, bytes.data(), std::size_t(bytes.size()));
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count <= 0) {
        m_readable.setEnabled(false);
        end();
        return;
    }
    bytes.truncate(count);
    m_requests.append(bytes);
    while (const auto item = m_requests.take())
        accept(*item);
}

void AgentRuntime::accept(const RequestReader::Item& item)
{
    if (const auto* rejected = std::get_if<RequestReader::Rejected>(&item)) {
        reject(rejected->requestID, rejected->sentence);
        return;
    }
    const auto& request = std::get<AgentRuntimeRequest>(item);
    if (request.command != AgentProtocolCommand::Run && request.command != AgentProtocolCommand::Continue)
        reject(request.requestID, words("This command is not supported."));
    else if (m_isAnswering)
        reject(request.requestID, words("Command is already working."));
    else
        answer(request);
}

void AgentRuntime::reject(const std::optional<QUuid>& requestID, const QString& sentence)
{
    AgentRuntimeEvent event;
    event.requestID = requestID;
    event.kind = AgentProtocolEventKind::Error;
    event.text = sentence;
    m_events.write(event);
}

QCoro::Task<> AgentRuntime::answer(AgentRuntimeRequest request)
{
    m_isAnswering = true;
    Turn turn(m_tools, std::move(request), [this](const AgentRuntimeEvent& event) {
        // Whoever reads an end may ask the next thing at once.
        if (event.kind == AgentProtocolEventKind::Completed || event.kind == AgentProtocolEventKind::Error)
            m_isAnswering = false;
        m_events.write(event);
    });
    co_await turn.run(m_ended.get_token());
}

QCoro::Task<> AgentRuntime::end()
{
    m_ended.request_stop();
    co_await m_server.stop();
    m_onEnd();
}

} // namespace tallowfern
