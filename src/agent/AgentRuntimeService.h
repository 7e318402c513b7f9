#pragma once

#include "agent/protocol/AgentLines.h"
#include "foundation/Clock.h"
#include "foundation/Completion.h"
#include "foundation/Lifetime.h"
#include "foundation/TaskSlot.h"
#include "platform/ProcessLauncher.h"

#include <exception>
#include <variant>
#include <vector>

namespace tallowfern {

/// Owns the agent runtime, a child process that lives from run to run and is thrown away as soon as it misbehaves; the
/// next run starts another. What a child that was thrown away still says reaches nobody. One run at a time.
/// Main thread.
class AgentRuntimeService {
public:
    /// Where the program of a name is; nothing when it is missing.
    using FindProgram = std::function<std::optional<QString>(const QString& name)>;
    using OnEvent = std::function<void(const AgentRuntimeEvent&)>;

    static constexpr double kModelLoadTimeout = 30; ///< seconds from the request to the phase Generating
    static constexpr double kRunTimeout = 120; ///< seconds from the request to its end, however much streams
    static constexpr qint64 kCloudRequestLimit = 10; ///< in any stretch of kCloudRateLimitWindow seconds
    static constexpr double kCloudRateLimitWindow = 60;

    AgentRuntimeService(Clock& clock, ProcessLauncher& launcher, FindProgram find);
    AgentRuntimeService(const AgentRuntimeService&) = delete;
    AgentRuntimeService& operator=(const AgentRuntimeService&) = delete;
    /// Ends what runs, as cancelled.
    ~AgentRuntimeService();

    /// Starts the child ahead of the first run. A failure is passed over: the run will meet it again.
    void start();

    /// The whole text that the model wrote, or nothing when the run was cancelled. `onEvent` gets every event of this
    /// run before it takes effect; it may cancel. Throws AgentRuntimeError, or what made the writing fail.
    QCoro::Task<std::optional<QString>> run(AgentRuntimeRequest request, OnEvent onEvent);
    /// Of no effect on a run that is not there.
    void cancel(QUuid requestID);

private:
    struct Cancelled { };
    using Outcome = std::variant<QString, std::exception_ptr, Cancelled>;
    struct PendingRun {
        QUuid requestID;
        QString modelName;
        OnEvent onEvent;
        Completion<Outcome> outcome;
    };

    QCoro::Task<> ensureProcess();
    Completion<std::exception_ptr> launching();
    QCoro::Task<> launch(Completion<std::exception_ptr> launched);
    void listenTo(ChildProcess& child);
    void reserveCloudRequestIfNeeded(const AgentRuntimeRequest& request);
    void startWatchdogs(const QUuid& requestID);
    QCoro::Task<> failAfter(double seconds, QUuid requestID, QString sentence, std::stop_token stop);
    QCoro::Task<> write(AgentRuntimeRequest request);
    void consume(const QByteArray& bytes);
    void captureErrorOutput(const QByteArray& bytes);
    void handle(const AgentRuntimeEvent& event);
    void runtimeTerminated();
    void failAll(const QString& sentence);
    void end(Outcome outcome);
    void retireRuntime();
    bool isPending(const QUuid& requestID) const { return m_pending && m_pending->requestID == requestID; }

    Clock& m_clock;
    ProcessLauncher& m_launcher;
    FindProgram m_find;
    std::unique_ptr<ChildProcess> m_child;
    std::optional<Completion<std::exception_ptr>> m_launching;
    LineBuffer m_lines;
    QByteArray m_errorOutput; ///< its newest bytes
    std::optional<PendingRun> m_pending;
    TaskSlot m_loadWatchdog;
    TaskSlot m_runWatchdog;
    std::vector<double> m_cloudRequestStarts; ///< within the window, the oldest first
    Lifetime m_lifetime;
};

} // namespace tallowfern
