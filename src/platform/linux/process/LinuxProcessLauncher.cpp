#include "platform/linux/process/LinuxProcessLauncher.h"

#include "foundation/Completion.h"
#include "foundation/LocalizedError.h"
#include "platform/linux/process/RunningChild.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <csignal>
#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace tallowfern {

namespace {

/// Runs in the child between fork and exec: nothing but system calls.
void becomeChildOf(pid_t parent, const QList<int>& descriptors)
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(1); // the parent died before the signal was ordered
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
    for (const int descriptor : descriptors)
        ::fcntl(descriptor, F_SETFD, 0);
}

std::unique_ptr<QProcess> prepare(const ProcessRequest& request)
{
    auto process = std::make_unique<QProcess>();
    process->setProgram(request.program);
    process->setArguments(request.arguments);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto entry = request.environment.begin(); entry != request.environment.end(); ++entry)
        environment.insert(entry.key(), entry.value());
    for (const QString& name : request.withoutEnvironment)
        environment.remove(name);
    process->setProcessEnvironment(environment);
    if (request.input == ProcessRequest::Input::Empty)
        process->setStandardInputFile(QProcess::nullDevice());
    process->setChildProcessModifier(
        [parent = ::getpid(), descriptors = request.descriptors] { becomeChildOf(parent, descriptors); });
    return process;
}

/// "execve: No such file or directory" names a function of ours; the user knows the program.
QString startFailure(const QProcess& process)
{
    QString sentence = process.errorString();
    const QString separator = QStringLiteral(": ");
    if (const auto colon = sentence.lastIndexOf(separator); colon >= 0)
        sentence = sentence.sliced(colon + separator.size());
    return QStringLiteral("%1: %2").arg(process.program(), sentence);
}

} // namespace

QCoro::Task<std::unique_ptr<ChildProcess>> LinuxProcessLauncher::launch(ProcessRequest request)
{
    std::unique_ptr<QProcess> process = prepare(request);
    Completion<bool> started;
    QObject::connect(process.get(), &QProcess::started, process.get(), [started]() mutable { started.complete(true); });
    QObject::connect(
        process.get(), &QProcess::errorOccurred, process.get(), [started]() mutable { started.complete(false); });
    process->start();
    const bool good = co_await started;
    QObject::disconnect(process.get(), nullptr, process.get(), nullptr);
    if (!good) {
        const SystemError error(startFailure(*process));
        process.release()->deleteLater(); // its signal is still on the stack
        throw error;
    }
    co_return std::make_unique<RunningChild>(std::move(process));
}

} // namespace tallowfern
