#include "foundation/SystemClock.h"
#include "platform/linux/process/LinuxProcessLauncher.h"
#include "runtime/AgentRuntime.h"
#include "runtime/RuntimeCheck.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <csignal>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

using namespace tallowfern;
using namespace Qt::StringLiterals;

namespace {

/// llama-server beside us, unless the user names another.
QString serverProgram()
{
    const QString named = qEnvironmentVariable("TALLOWFERN_LLAMA_SERVER_PATH");
    return named.isEmpty() ? QCoreApplication::applicationDirPath() + u"/llama-server"_s : named;
}

QCoro::Task<> check(RuntimeCheck& runtimeCheck, Clock& clock)
{
    co_await clock.sleep(0); // what ends before the event loop runs cannot end it
    const QString bridge = QCoreApplication::applicationDirPath() + u"/TallowfernAppleBridge"_s;
    const bool works = co_await runtimeCheck.run(serverProgram(), bridge);
    QCoreApplication::exit(works ? 0 : 1);
}

} // namespace

int main(int argc, char** argv)
{
    ::umask(077);
    ::signal(SIGPIPE, SIG_IGN);
    QCoreApplication application(argc, argv);
    SystemClock clock;
    LinuxProcessLauncher launcher;
    const QStringList arguments = QCoreApplication::arguments().sliced(1);
    if (arguments == QStringList{u"--check"_s}) {
        RuntimeCheck runtimeCheck(clock, launcher, stdout);
        check(runtimeCheck, clock);
        return QCoreApplication::exec();
    }
    if (!arguments.isEmpty()) {
        std::fprintf(stderr, "usage: tallowfern-agent [--check]\nWithout an argument, requests are read as lines.\n");
        return 2;
    }
    const AgentRuntime runtime(
        clock, launcher, serverProgram(), STDIN_FILENO, STDOUT_FILENO, [] { QCoreApplication::exit(0); });
    return QCoreApplication::exec();
}
