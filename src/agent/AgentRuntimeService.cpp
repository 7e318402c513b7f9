#include "agent/AgentRuntimeService.h"

#include "agent/RuntimeDiagnostics.h"
#include "agent/protocol/AgentRuntimeError.h"
#include "foundation/Words.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kErrorOutputKept = 8192; // bytes
constexpr qsizetype kIdleOutputKept = 1 << 20; // bytes; a child that nobody asked has nothing to say
constexpr double kSecondsToLeave = 2;
constexpr double kSecondsToDie = 1;

/// The user's keys reach the runtime in the request that needs them, and in no other way.
const QStringList& providerVariables()
{
    static const QStringList names{u"OPENAI_API_KEY"_s, u"OPENAI_BASE_URL"_s, u"OPENAI_ORG_ID"_s,
        u"OPENAI_ORGANIZATION"_s, u"OPENAI_PROJECT"_s, u"OPENAI_PROJECT_ID"_s, u"GEMINI_API_KEY"_s, u"GOOGLE_API_KEY"_s,
        u"MISTRAL_API_KEY"_s};
    return names;
}

std::exception_ptr writingModelUnavailable(const QString& sentence)
{
    return std::make_exception_ptr(AgentRuntimeError::writingModelUnavailable(sentence));
}

/// The end of its input is the child's order to leave; one that stays is asked, then killed.
QCoro::Task<> seeOff(std::unique_ptr<ChildProcess> child, Clock& clock)
{
    std::stop_source gone;
    child->onOutput = nullptr;
    child->onErrorOutput = nullptr;
    child->onExit = [gone](ProcessExit) mutable { gone.request_stop(); };
    child->closeInput();
    co_await clock.sleep(kSecondsToLeave, gone.get_token());
    if (gone.stop_requested())
        co_return;
    child->terminate();
    co_await clock.sleep(kSecondsToDie, gone.get_token());
}

} // namespace

AgentRuntimeService::AgentRuntimeService(Clock& clock, ProcessLauncher& launcher, FindProgram find)
    : m_clock(clock)
    , m_launcher(launcher)
    , m_find(std::move(find))
{
}

AgentRuntimeService::~AgentRuntimeService()
{
    end(Cancelled());
    if (m_child) {
        m_child->closeInput();
        m_child->terminate();
    }
}

void AgentRuntimeService::start()
{
    if (!m_child)
        launching();
}

QCoro::Task<std::optional<QString>> AgentRuntimeService::run(AgentRuntimeRequest request, OnEvent onEvent)
{
    using Cause = AgentRuntimeError::Cause;
    if (m_pending)
        throw AgentRuntimeError(Cause::Busy);
    const QString modelName = request.model ? request.model->name : words("The local model");
    m_pending.emplace(PendingRun{request.requestID, modelName, std::move(onEvent), {}});
    Completion<Outcome> ended = m_pending->outcome;

    const auto alive = m_lifetime.token();
    try {
        co_await ensureProcess();
        if (!alive.stop_requested() && isPending(request.requestID)) {
            reserveCloudRequestIfNeeded(request);
            startWatchdogs(request.requestID);
            write(std::move(request));
        }
    } catch (...) {
        if (!alive.stop_requested() && isPending(request.requestID))
            end(std::current_exception());
    }
    const Outcome outcome = co_await ended;
    if (const auto* failure = std::get_if<std::exception_ptr>(&outcome))
        std::rethrow_exception(*failure);
    const auto* text = std::get_if<QString>(&outcome);
    co_return text ? std::optional(*text) : std::nullopt;
}

void AgentRuntimeService::cancel(QUuid requestID)
{
    if (!isPending(requestID))
        return;
    retireRuntime();
    end(Cancelled());
}

QCoro::Task<> AgentRuntimeService::ensureProcess()
{
    if (m_child)
        co_return;
    auto launched = launching();
    const std::exception_ptr failure = co_await launched;
    if (failure)
        std::rethrow_exception(failure);
}

Completion<std::exception_ptr> AgentRuntimeService::launching()
{
    if (m_launching)
        return *m_launching;
    Completion<std::exception_ptr> launched;
    m_launching = launched;
    launch(launched);
    return launched;
}

QCoro::Task<> AgentRuntimeService::launch(Completion<std::exception_ptr> launched)
{
    const auto alive = m_lifetime.token();
    std::unique_ptr<ChildProcess> child;
    std::exception_ptr failure;
    if (const auto program = m_find(u"tallowfern-agent"_s)) {
        ProcessRequest request;
        request.program = *program;
        request.environment = {{u"OPENAI_AGENTS_DISABLE_TRACING"_s, u"1"_s}};
        request.withoutEnvironment = providerVariables();
        request.input = ProcessRequest::Input::Pipe;
        try {
            child = co_await m_launcher.launch(request);
        } catch (const LocalizedError&) {
            // Told as missing: what the system says about our own program helps nobody.
        }
    }
    if (alive.stop_requested())
        co_return;
    m_launching.reset();
    if (child) {
        m_lines.clear();
        m_errorOutput.clear();
        listenTo(*child);
        m_child = std::move(child);
    } else {
        failure = std::make_exception_ptr(AgentRuntimeError(AgentRuntimeError::Cause::RuntimeMissing));
    }
    launched.complete(failure);
}

void AgentRuntimeService::listenTo(ChildProcess& child)
{
    child.onOutput = [this](const QByteArray& bytes) { consume(bytes); };
    child.onErrorOutput = [this](const QByteArray& bytes) { captureErrorOutput(bytes); };
    child.onExit = [this](ProcessExit) { runtimeTerminated(); };
}

void AgentRuntimeService::reserveCloudRequestIfNeeded(const AgentRuntimeRequest& request)
{
    if (!request.model || !isCloud(request.model->provider))
        return;
    const double now = m_clock.now();
    std::erase_if(m_cloudRequestStarts, [now](double start) { return now - start >= kCloudRateLimitWindow; });
    if (qint64(m_cloudRequestStarts.size()) >= kCloudRequestLimit)
        throw AgentRuntimeError::cloudRequestLimitReached(kCloudRequestLimit);
    m_cloudRequestStarts.push_back(now);
}

void AgentRuntimeService::startWatchdogs(const QUuid& requestID)
{
    const QString notLoaded = words("%1 did not start in time.").arg(m_pending->modelName);
    m_loadWatchdog.restart(
        [&](const std::stop_token& stop) { failAfter(kModelLoadTimeout, requestID, notLoaded, stop); });
    const QString silent = words("Command stopped responding.");
    m_runWatchdog.restart([&](const std::stop_token& stop) { failAfter(kRunTimeout, requestID, silent, stop); });
}

QCoro::Task<> AgentRuntimeService::failAfter(double seconds, QUuid requestID, QString sentence, std::stop_token stop)
{
    co_await m_clock.sleep(seconds, stop);
    if (stop.stop_requested() || !isPending(requestID))
        co_return;
    failAll(sentence + diagnosticSuffix(m_errorOutput));
}

QCoro::Task<> AgentRuntimeService::write(AgentRuntimeRequest request)
{
    const auto alive = m_lifetime.token();
    const QUuid requestID = request.requestID;
    std::exception_ptr failure;
    const ChildProcess* child = m_child.get();
    try {
        QByteArray line = encodedLine(request);
        request = {};
        co_await m_child->write(std::move(line));
    } catch (...) {
        failure = std::current_exception();
    }
    if (!failure || alive.stop_requested() || m_child.get() != child)
        co_return;
    retireRuntime();
    if (isPending(requestID))
        end(failure);
}

void AgentRuntimeService::consume(const QByteArray& bytes)
{
    const ChildProcess* speaker = m_child.get();
    m_lines.append(bytes);
    const auto alive = m_lifetime.token();
    while (const auto line = m_lines.takeLine()) {
        if (line->isEmpty())
            continue;
        AgentRuntimeEvent event;
        try {
            event = decodedEvent(*line);
        } catch (const json::DecodingError&) {
            failAll(words("Command returned an invalid response."));
            return;
        }
        handle(event);
        if (alive.stop_requested() || m_child.get() != speaker)
            return;
    }
    if (!m_pending && m_lines.size() > kIdleOutputKept)
        retireRuntime();
}

void AgentRuntimeService::captureErrorOutput(const QByteArray& bytes)
{
    m_errorOutput += bytes.last(std::min(bytes.size(), kErrorOutputKept));
    m_errorOutput = m_errorOutput.last(std::min(m_errorOutput.size(), kErrorOutputKept));
}

void AgentRuntimeService::handle(const AgentRuntimeEvent& event)
{
    using Kind = AgentProtocolEventKind;
    if (!event.requestID) {
        if (event.kind == Kind::Error)
            failAll(event.text.value_or(words("Command rejected the request.")));
        return;
    }
    if (!isPending(*event.requestID))
        return;
    const auto alive = m_lifetime.token();
    const OnEvent onEvent = m_pending->onEvent; // a copy: it may end the run
    onEvent(event);
    if (alive.stop_requested() || !isPending(*event.requestID))
        return;
    if (event.phase == AgentPhase::Generating)
        m_loadWatchdog.cancel();
    if (event.kind == Kind::Error)
        end(writingModelUnavailable(event.text.value_or(words("Command failed."))));
    else if (event.kind == Kind::Completed)
        end(event.text.value_or(QString()));
}

void AgentRuntimeService::runtimeTerminated()
{
    m_child.reset();
    end(writingModelUnavailable(words("Command stopped unexpectedly.") + diagnosticSuffix(m_errorOutput)));
}

void AgentRuntimeService::failAll(const QString& sentence)
{
    retireRuntime();
    end(writingModelUnavailable(sentence));
}

/// Last in every function: the caller of run() goes on inside, and may run again or destroy the service.
void AgentRuntimeService::end(Outcome outcome)
{
    m_loadWatchdog.cancel();
    m_runWatchdog.cancel();
    if (const auto pending = std::exchange(m_pending, std::nullopt)) {
        Completion<Outcome> ended = pending->outcome;
        ended.complete(std::move(outcome));
    }
}

void AgentRuntimeService::retireRuntime()
{
    if (m_child)
        seeOff(std::move(m_child), m_clock);
}

} // namespace tallowfern
