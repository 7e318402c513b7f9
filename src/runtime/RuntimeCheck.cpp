#include "runtime/RuntimeCheck.h"

#include "foundation/LocalizedError.h"
#include "foundation/Words.h"

#include <QFileInfo>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr double kSecondsForEach = 10;

QString finding(const HttpStream::Ending& ending, const QString& host)
{
    using Cause = AnswerFailure::Cause;
    if (!ending.broken)
        return words("%1 answers, and its certificate is good.").arg(host);
    switch (*ending.broken) {
    case Cause::Untrusted:
        return words("%1 has a certificate that is not trusted here.").arg(host);
    case Cause::Redirected:
        return words("%1 points to another address.").arg(host);
    case Cause::Cancelled:
        return words("%1 does not answer in time.").arg(host);
    default:
        return words("%1 cannot be reached.").arg(host);
    }
}

QCoro::Task<> stopAfter(double seconds, Clock& clock, std::stop_source late, std::stop_token done)
{
    co_await clock.sleep(seconds, done);
    if (!done.stop_requested())
        late.request_stop();
}

} // namespace

RuntimeCheck::RuntimeCheck(Clock& clock, ProcessLauncher& launcher, std::FILE* output)
    : m_clock(clock)
    , m_launcher(launcher)
    , m_output(output)
{
}

QCoro::Task<bool> RuntimeCheck::run(QString serverProgram, QString bridgeProgram)
{
    bool works = co_await checkServer(serverProgram);
    print(u"TallowfernAppleBridge"_s,
        QFileInfo(bridgeProgram).isExecutable() ? bridgeProgram : words("%1 is not there.").arg(bridgeProgram));
    for (const auto provider : {AgentModelProvider::OpenAI, AgentModelProvider::Gemini, AgentModelProvider::Mistral}) {
        const bool isReached = co_await checkService(provider);
        works = works || isReached;
    }
    co_return works;
}

QCoro::Task<bool> RuntimeCheck::checkServer(QString program)
{
    ProcessRequest request;
    request.program = program;
    request.arguments = {u"--version"_s};
    QByteArray answer;
    std::optional<ProcessExit> exit;
    try {
        const std::unique_ptr<ChildProcess> child = co_await m_launcher.launch(request);
        std::stop_source ended;
        child->onOutput = [&](const QByteArray& bytes) { answer += bytes; };
        child->onErrorOutput = child->onOutput;
        child->onExit = [&](ProcessExit how) {
            exit = how;
            ended.request_stop();
        };
        co_await m_clock.sleep(kSecondsForEach, ended.get_token());
        child->onOutput = nullptr;
        child->onErrorOutput = nullptr;
        child->onExit = nullptr;
    } catch (const LocalizedError& error) {
        print(u"llama-server"_s, error.description());
        co_return false;
    }
    const bool works = exit && !exit->crashed && exit->status == 0;
    const QString version = QString::fromUtf8(answer).section(u'\n', 0, 0).trimmed();
    print(u"llama-server"_s, works ? program + u" ("_s + version + u')' : words("%1 does not start.").arg(program));
    co_return works;
}

QCoro::Task<bool> RuntimeCheck::checkService(AgentModelProvider provider)
{
    AnswerRequest nothing;
    nothing.model.provider = provider;
    const auto adapter = adapterFor(provider);
    const QString name = adapter->label(nothing);
    ServiceCall call;
    try {
        call.url = adapter->call(nothing, {}).url;
    } catch (const AnswerFailure& failure) {
        print(name, failure.description());
        co_return false;
    }
    call.body = "{}"; // refused for its missing key, by whoever is there
    std::stop_source late;
    std::stop_source done;
    stopAfter(kSecondsForEach, m_clock, late, done.get_token());
    const HttpStream::Listener listener{[] {}, [](const QByteArray&) { return true; }};
    const auto posting = m_http.post(call, listener, late.get_token());
    const HttpStream::Ending ending = co_await posting;
    done.request_stop();
    print(name, finding(ending, call.url.authority()));
    co_return !ending.broken;
}

void RuntimeCheck::print(const QString& name, const QString& finding)
{
    std::fprintf(m_output, "%s: %s\n", qUtf8Printable(name), qUtf8Printable(finding));
    std::fflush(m_output);
}

} // namespace tallowfern
