#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <QCoroTask>

#include <functional>
#include <memory>

namespace tallowfern {

/// What to start. No shell is involved.
struct ProcessRequest {
    enum class Input { Empty, Pipe };

    QString program; ///< absolute path
    QStringList arguments;
    QMap<QString, QString> environment; ///< added to ours
    QStringList withoutEnvironment = {}; ///< names that the child does not get of ours
    Input input = Input::Empty;
    QList<int> descriptors = {}; ///< open files of ours that the child gets too, under the same numbers
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

    // The input, where the request asked for a pipe.
    /// Ends when the child's pipe has taken all bytes. Writes do not mix. Throws SystemError when the child reads no
    /// more or is gone.
    virtual QCoro::Task<> write(QByteArray bytes) = 0;
    /// The child reads the end of its input, behind all that is still being written.
    virtual void closeInput() = 0;

    /// Asks the child to end (SIGTERM).
    virtual void terminate() = 0;

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
