#pragma once

#include "foundation/Completion.h"
#include "foundation/Lifetime.h"
#include "platform/ProcessLauncher.h"

#include <QProcess>

#include <deque>

namespace tallowfern {

/// A child that runs. Takes a process that has started.
class RunningChild final : public ChildProcess {
public:
    explicit RunningChild(std::unique_ptr<QProcess> process);
    /// Kills the child's whole process group; the child is buried when the event loop hears of its end.
    ~RunningChild() override;

    qint64 processIdentifier() const override { return m_identifier; }
    QCoro::Task<> write(QByteArray bytes) override;
    void closeInput() override;
    void terminate() override;

private:
    void handOverOutput();
    void handOverErrorOutput();
    void finish(int status, QProcess::ExitStatus how);
    void endWrites();

    QProcess* m_process; ///< ours until the destructor lets it go
    qint64 m_identifier;
    /// The writes under way, each with the count of bytes at which it is done, and whether it went well.
    std::deque<std::pair<qint64, Completion<bool>>> m_writes;
    qint64 m_accepted = 0; ///< bytes given to the process object so far
    qint64 m_written = 0; ///< bytes that the pipe has taken so far
    Lifetime m_lifetime;
};

} // namespace tallowfern
