#include "runtime/SystemModel.h"

#include "foundation/Json.h"
#include "foundation/LocalizedError.h"
#include "foundation/Words.h"

#include <QDir>
#include <QFileInfo>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr double kSecondsToAnswer = 5;
constexpr qsizetype kLongestAnswer = 64 << 10; // bytes

struct Reply {
    std::optional<QString> modelPath;
    std::optional<QString> name;
    std::optional<QString> error;

    static constexpr auto jsonFields()
    {
        using S = Reply;
        return std::tuple{json::tolerated("modelPath", &S::modelPath), json::tolerated("name", &S::name),
            json::tolerated("error", &S::error)};
    }
};

/// The folder of the models lies beside the folder of the sessions.
QString modelsFolder(const QString& sessionPath)
{
    return QDir::cleanPath(QFileInfo(sessionPath).path() + u"/../AgentModels"_s);
}

[[noreturn]] void failSilentBridge()
{
    throw SystemError(words("The model on this computer does not answer."));
}

} // namespace

SystemModel::SystemModel(Clock& clock, ProcessLauncher& launcher)
    : m_clock(clock)
    , m_launcher(launcher)
{
}

QCoro::Task<SystemModel::Choice> SystemModel::choose(
    std::optional<QString> bridgePath, std::optional<QString> sessionPath, std::stop_token stop)
{
    if (!bridgePath || !sessionPath)
        throw SystemError(words("The model on this computer is not installed."));
    ProcessRequest request;
    request.program = *bridgePath;
    request.arguments = {u"--models"_s, modelsFolder(*sessionPath)};
    Clock& clock = m_clock;
    const std::unique_ptr<ChildProcess> bridge = co_await m_launcher.launch(request);
    QByteArray answer;
    std::stop_source wake;
    const std::stop_callback onStop(stop, [&wake] { wake.request_stop(); });
    bridge->onOutput = [&](const QByteArray& bytes) {
        answer += bytes;
        if (answer.size() > kLongestAnswer)
            wake.request_stop();
    };
    bridge->onExit = [&](ProcessExit) { wake.request_stop(); };
    co_await clock.sleep(kSecondsToAnswer, wake.get_token());
    bridge->onOutput = nullptr;
    bridge->onExit = nullptr;

    if (stop.stop_requested())
        failSilentBridge();
    Reply reply;
    try {
        reply = json::decode<Reply>(answer);
    } catch (const json::DecodingError&) {
        failSilentBridge();
    }
    if (reply.error)
        throw SystemError(*reply.error);
    if (!reply.modelPath || !reply.name)
        failSilentBridge();
    co_return Choice{*reply.name, *reply.modelPath};
}

} // namespace tallowfern
