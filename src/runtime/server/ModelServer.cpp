#include "runtime/server/ModelServer.h"

#include "foundation/LocalizedError.h"
#include "foundation/Words.h"
#include "runtime/server/FreeMemory.h"
#include "runtime/server/ServerLock.h"
#include "runtime/server/ServerLog.h"
#include "runtime/server/ServerMemory.h"

#include <QFileInfo>
#include <QProcessEnvironment>
#include <QRandomGenerator>
#include <QThread>

#include <array>

namespace tallowfern {

using namespace Qt::StringLiterals;

/// One server, from the wish for it to its end.
struct ModelServer::Run {
    ModelFiles files;
    Secret key;
    qint64 contextTokens = 0;
    ServerLog log;
    std::optional<QString> failure; ///< why it ended by itself
    std::stop_source stopping; ///< it is to end
    std::stop_source settled; ///< it listens, or has ended
    std::stop_source ended;
    std::unique_ptr<ChildProcess> child; // last, so that it ends first: it calls back

    void end(std::optional<QString> why)
    {
        failure = std::move(why);
        ended.request_stop();
        settled.request_stop();
    }
    bool canServe(const ModelFiles& wanted) const
    {
        return !ended.stop_requested() && !stopping.stop_requested() && files.program == wanted.program
            && files.modelPath == wanted.modelPath && files.projectorPath == wanted.projectorPath;
    }
};

namespace {

constexpr double kForEver = 1e9; // seconds

/// Nobody can guess it, so no web page can use the server.
Secret randomKey()
{
    std::array<quint32, 4> numbers{};
    QRandomGenerator::system()->fillRange(numbers.data(), qsizetype(numbers.size()));
    const QByteArray bytes(reinterpret_cast<const char*>(numbers.data()), sizeof numbers);
    return Secret(bytes.toHex());
}

/// One processor is left to the desktop.
int threads()
{
    const int processors = QThread::idealThreadCount();
    return processors > 2 ? processors - 1 : processors;
}

QStringList serverArguments(const ModelFiles& files, qint64 contextTokens, int keyDescriptor)
{
    QStringList arguments{u"-m"_s, files.modelPath, u"--host"_s, u"127.0.0.1"_s, u"--port"_s, u"0"_s, u"--no-webui"_s,
        u"--offline"_s, u"-c"_s, QString::number(contextTokens), u"--parallel"_s, u"1"_s, u"--jinja"_s,
        u"--cache-ram"_s, u"256"_s, u"--reasoning"_s, u"off"_s, u"--reasoning-budget"_s, u"0"_s, u"-t"_s,
        QString::number(threads()), u"--api-key-file"_s, u"/dev/fd/%1"_s.arg(keyDescriptor)};
    if (files.projectorPath)
        arguments += {u"--mmproj"_s, *files.projectorPath};
    return arguments;
}

/// The user's own settings for llama-server would change ours, and it needs nothing of what is meant for us.
QStringList unwantedEnvironment()
{
    QStringList names{u"TALLOWFERN_CA_FILE"_s, u"TALLOWFERN_OPENAI_BASE_URL"_s, u"TALLOWFERN_GEMINI_BASE_URL"_s,
        u"TALLOWFERN_MISTRAL_BASE_URL"_s};
    for (const QString& name : QProcessEnvironment::systemEnvironment().keys()) {
        if (name.startsWith(u"LLAMA_") || name.startsWith(u"HF_"))
            names.append(name);
    }
    return names;
}

/// Throws LocalizedError.
ProcessRequest serverRequest(
    const ModelFiles& files, qint64 contextTokens, const Descriptor& keyFile, const Descriptor& lock)
{
    if (!QFileInfo(files.program).isExecutable())
        throw SystemError(words("%1 needs the program llama-server, which is not installed.").arg(files.name));
    ProcessRequest request;
    request.program = files.program;
    request.arguments = serverArguments(files, contextTokens, keyFile.number());
    request.environment.insert(u"GGML_NO_BACKTRACE"_s, u"1"_s); // it would start a debugger
    request.withoutEnvironment = unwantedEnvironment();
    request.descriptors.append(keyFile.number());
    if (lock.isOpen())
        request.descriptors.append(lock.number());
    return request;
}

/// Sleeps until one of the two is requested, `seconds` at most.
QCoro::Task<> sleepUntilEither(Clock& clock, double seconds, std::stop_token one, std::stop_token other)
{
    std::stop_source wake;
    const auto wakeUp = [&wake] { wake.request_stop(); };
    const std::stop_callback onOne(one, wakeUp);
    const std::stop_callback onOther(other, wakeUp);
    co_await clock.sleep(seconds, wake.get_token());
}

} // namespace

ModelServer::ModelServer(Clock& clock, ProcessLauncher& launcher, QString systemRoot)
    : m_clock(clock)
    , m_launcher(launcher)
    , m_systemRoot(std::move(systemRoot))
{
}

ModelServer::~ModelServer()
{
    if (m_run)
        m_run->stopping.request_stop();
}

QCoro::Task<ServedModel> ModelServer::serve(ModelFiles files, std::stop_token stop)
{
    const auto alive = m_lifetime.token();
    m_idle.cancel();
    Clock& clock = m_clock;
    if (m_run && !m_run->canServe(files)) {
        auto ending = this->stop();
        co_await ending;
        if (alive.stop_requested() || stop.stop_requested())
            throw SystemError(words("The model was stopped."));
    }
    if (!m_run) {
        m_run = std::make_shared<Run>();
        m_run->files = files;
        start(m_run);
    }
    const std::shared_ptr<Run> run = m_run;
    run->files.name = files.name; // the same files may go by two names
    auto settling = sleepUntilEither(clock, kForEver, run->settled.get_token(), stop);
    co_await settling;
    if (run->failure)
        throw SystemError(*run->failure);
    if (run->ended.stop_requested() || run->stopping.stop_requested() || !run->settled.stop_requested())
        throw SystemError(words("The model was stopped."));
    co_return ServedModel{*run->log.address(), run->key, run->contextTokens};
}

QCoro::Task<> ModelServer::start(std::shared_ptr<Run> run)
{
    const std::stop_token stop = run->stopping.get_token();
    ProcessLauncher& launcher = m_launcher;
    const QString systemRoot = m_systemRoot;
    auto locking = takeServerLock(m_clock, stop);
    const Descriptor lock = co_await locking;
    if (stop.stop_requested()) {
        run->end({});
        co_return;
    }
    try {
        run->contextTokens = contextThatFits(run->files, freeMemory(systemRoot));
        run->key = randomKey();
        const Descriptor keyFile = fileInMemory(run->key);
        auto launching = launcher.launch(serverRequest(run->files, run->contextTokens, keyFile, lock));
        run->child = co_await launching;
    } catch (const LocalizedError& error) {
        run->end(error.description());
        co_return;
    }
    if (stop.stop_requested()) {
        run->child.reset();
        run->end({});
        co_return;
    }
    run->child->onErrorOutput = [run = run.get()](const QByteArray& bytes) {
        run->log.append(bytes);
        if (run->log.address())
            run->settled.request_stop();
    };
    run->child->onExit = [run = run.get()](ProcessExit exit) {
        const bool wasAsked = run->stopping.stop_requested();
        run->end(wasAsked ? std::nullopt : std::optional(stoppedSentence(run->files.name, run->log.cause(exit))));
    };
}

void ModelServer::rest()
{
    if (m_run)
        m_idle.restart([this](const std::stop_token& token) { stopWhenIdle(token); });
}

QCoro::Task<> ModelServer::stopWhenIdle(std::stop_token stop)
{
    co_await m_clock.sleep(kIdleSeconds, stop);
    if (stop.stop_requested())
        co_return;
    auto ending = this->stop();
    co_await ending;
}

QCoro::Task<std::optional<QString>> ModelServer::endSentence()
{
    const std::shared_ptr<Run> run = m_run;
    if (!run)
        co_return std::nullopt;
    auto ending = sleepUntilEither(m_clock, kSecondsToEnd, run->ended.get_token(), {});
    co_await ending;
    co_return run->failure;
}

QCoro::Task<> ModelServer::stop()
{
    const auto alive = m_lifetime.token();
    m_idle.cancel();
    const std::shared_ptr<Run> run = m_run;
    if (!run)
        co_return;
    run->stopping.request_stop();
    run->settled.request_stop();
    if (run->child && !run->ended.stop_requested())
        run->child->terminate();
    auto ending = sleepUntilEither(m_clock, kSecondsToEnd, run->ended.get_token(), {});
    co_await ending;
    if (alive.stop_requested())
        co_return;
    run->child.reset(); // kills what has not heard
    if (m_run == run)
        m_run.reset();
}

} // namespace tallowfern
