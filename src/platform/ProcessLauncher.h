#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <QCoroTask>

#include <functional>
#include <memory>

namespace tallowfern {

/// What to start. No shell is involved.
struct ProcessRequest {
    QString program; ///< absolute path
    QStringList arguments;
    QMap<QString, QString> environment; ///< added to ours
};

/// How a child ended.
struct ProcessExit {
    bool crashed = false; ///< ended by a signal
    int status = 0; ///< exit status, or the number of the signal
};

/// A running child, in a process group of its own, that dies with us. Main thread; the callbacks run from the event
/// loop, so those set right after the launch miss nothing, and may destroy the object. Destroying it kills the child
/// without waiting.
class ChildProcess {
public:
    ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    virtual ~ChildProcess() = default;

    virtual qint64 processIdentifier() const = 0;

    /// Bytes as they come, in any pieces; never empty.
    std::function<void(QByteArray)> onOutput;
    std::function<void(QByteArray)> onErrorOutput;
    /// Called once, after all output was handed over.
    std::function<void(ProcessExit)> onExit;
};

/// The only door through which programs are started. Main thread.
class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;

    /// Throws SystemError with the system's sentence when the program cannot be started.
    virtual QCoro::Task<std::unique_ptr<ChildProcess>> launch(ProcessRequest request) = 0;
};

} // namespace tallowfern
