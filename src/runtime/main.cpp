#include "foundation/SystemClock.h"
#include "platform/linux/process/LinuxProcessLauncher.h"
#include "runtime/AgentRuntime.h"

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

} // namespace

int main(int argc, char** argv)
{
    ::umask(077);
    ::signal(SIGPIPE, SIG_IGN);
    QCoreApplication application(argc, argv);
    SystemClock clock;
    LinuxProcessLauncher launcher;
    const QStringList arguments = QCoreApplication::arguments().sliced(1);
    if (!arguments.isEmpty()) {
        std::fprintf(stderr, "usage: tallowfern-agent [--check]\nWithout an argument, requests are read as lines.\n");
        return 2;
    }
    const AgentRuntime runtime(
        clock, launcher, serverProgram(), STDIN_FILENO, STDOUT_FILENO, [] { QCoreApplication::exit(0); });
    return QCoreApplication::exec();
}
