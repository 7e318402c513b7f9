#pragma once

#include "foundation/Clock.h"
#include "foundation/Lifetime.h"
#include "foundation/Secret.h"
#include "foundation/TaskSlot.h"
#include "platform/ProcessLauncher.h"

#include <QUrl>

#include <memory>
#include <optional>

namespace tallowfern {

/// What a local model runs on.
struct ModelFiles {
    QString name; ///< as sentences say it
    QString program; ///< llama-server
    QString modelPath;
    std::optional<QString> projectorPath;
};

/// A model that is loaded and listens.
struct ServedModel {
    QUrl address;
    Secret key;
    qint64 contextTokens = 0;
};

/// Holds at most one llama-server: starts it when it is needed, keeps it warm between turns, and stops it after some
/// idle minutes. It listens on this computer only, to whoever has its key, and dies with us. Main thread.
class ModelServer {
public:
    static constexpr double kIdleSeconds = 300;
    static constexpr double kSecondsToEnd = 1; ///< from SIGTERM to SIGKILL

    /// `systemRoot` is the folder that stands for "/" where the free memory is read.
    ModelServer(Clock& clock, ProcessLauncher& launcher, QString systemRoot = QStringLiteral("/"));
    ~ModelServer();

    /// Ends when the model listens. Throws LocalizedError, also when `stop` is requested: the wait ends then, but the
    /// load goes on and serves the next call. The server of another model is stopped first.
    QCoro::Task<ServedModel> serve(ModelFiles files, std::stop_token stop);
    /// The idle minutes count from now.
    void rest();
    /// Why the server ended, for a turn that it left unfinished; waits a second for its end. Nothing when it lives.
    QCoro::Task<std::optional<QString>> endSentence();
    /// Ends when no server is left.
    QCoro::Task<> stop();

private:
    struct Run;

    QCoro::Task<> start(std::shared_ptr<Run> run);
    QCoro::Task<> stopWhenIdle(std::stop_token stop);

    Clock& m_clock;
    ProcessLauncher& m_launcher;
    QString m_systemRoot;
    std::shared_ptr<Run> m_run; ///< the newest server, from the wish for it until the wish for another
    TaskSlot m_idle;
    Lifetime m_lifetime;
};

} // namespace tallowfern
