#pragma once

#include "foundation/Lifetime.h"
#include "platform/ProcessLauncher.h"

#include <QProcess>

namespace tallowfern {

/// A child that runs. Takes a process that has started.
class RunningChild final : public ChildProcess {
public:
    explicit RunningChild(std::unique_ptr<QProcess> process);
    /// Kills the child's whole process group; the child is buried when the event loop hears of its end.
    ~RunningChild() override;

    qint64 processIdentifier() const override { return m_identifier; }

private:
    void handOverOutput();
    void handOverErrorOutput();
    void finish(int status, QProcess::ExitStatus how);

    QProcess* m_process; ///< ours until the destructor lets it go
    qint64 m_identifier;
    Lifetime m_lifetime;
};

} // namespace tallowfern
