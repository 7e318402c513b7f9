#include "platform/linux/process/RunningChild.h"

#include "foundation/LocalizedError.h"

#include <QCoreApplication>

#include <csignal>
#include <utility>

namespace tallowfern {

RunningChild::RunningChild(std::unique_ptr<QProcess> process)
    : m_process(process.release())
    , m_identifier(m_process->processId())
{
    QObject::connect(m_process, &QProcess::readyReadStandardOutput, m_process, [this] { handOverOutput(); });
    QObject::connect(m_process, &QProcess::readyReadStandardError, m_process, [this] { handOverErrorOutput(); });
    QObject::connect(m_process, &QProcess::finished, m_process,
        [this](int status, QProcess::ExitStatus how) { finish(status, how); });
    QObject::connect(m_process, &QProcess::bytesWritten, m_process, [this](qint64 count) {
        m_written += count;
        while (!m_writes.empty() && m_writes.front().first <= m_written) {
            Completion<bool> done = m_writes.front().second;
            m_writes.pop_front();
            done.complete(true);
        }
    });
    QObject::connect(m_process, &QProcess::errorOccurred, m_process, [this](QProcess::ProcessError error) {
        if (error == QProcess::WriteError)
            endWrites();
    });
}

RunningChild::~RunningChild()
{
    m_process->disconnect(m_process);
    endWrites();
    if (m_process->state() == QProcess::NotRunning) {
        m_process->deleteLater(); // this may run inside one of its signals
        return;
    }
    // Deleting a QProcess waits for the child, which may be long in dying: it deletes itself when the child is gone.
    QObject::connect(m_process, &QProcess::finished, m_process, &QObject::deleteLater);
    m_process->closeReadChannel(QProcess::StandardOutput);
    m_process->closeReadChannel(QProcess::StandardError);
    ::kill(-static_cast<pid_t>(m_identifier), SIGKILL);
}

QCoro::Task<> RunningChild::write(QByteArray bytes)
{
    if (bytes.isEmpty())
        co_return;
    Completion<bool> done;
    if (m_process->write(bytes) == bytes.size()) {
        m_accepted += bytes.size();
        m_writes.emplace_back(m_accepted, done);
    } else {
        done.complete(false);
    }
    bytes.clear();
    const bool good = co_await done;
    if (!good)
        throw SystemError(QCoreApplication::translate("Tallowfern", "The program no longer reads what it is sent."));
}

void RunningChild::closeInput()
{
    m_process->closeWriteChannel();
}

void RunningChild::terminate()
{
    ::kill(static_cast<pid_t>(m_identifier), SIGTERM);
}

void RunningChild::endWrites()
{
    for (auto& [end, done] : std::exchange(m_writes, {}))
        done.complete(false);
}

// A callback may destroy this object, so each is called by a copy and followed by nothing.

void RunningChild::handOverOutput()
{
    QByteArray bytes = m_process->readAllStandardOutput();
    const auto callback = onOutput;
    if (callback && !bytes.isEmpty())
        callback(std::move(bytes));
}

void RunningChild::handOverErrorOutput()
{
    QByteArray bytes = m_process->readAllStandardError();
    const auto callback = onErrorOutput;
    if (callback && !bytes.isEmpty())
        callback(std::move(bytes));
}

void RunningChild::finish(int status, QProcess::ExitStatus how)
{
    const auto alive = m_lifetime.token();
    endWrites();
    if (alive.stop_requested())
        return;
    handOverOutput();
    if (alive.stop_requested())
        return;
    handOverErrorOutput();
    if (alive.stop_requested())
        return;
    const auto callback = onExit;
    if (callback)
        callback({how == QProcess::CrashExit, status});
}

} // namespace tallowfern
