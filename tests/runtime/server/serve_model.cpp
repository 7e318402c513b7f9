#include "foundation/LocalizedError.h"
#include "foundation/SystemClock.h"
#include "platform/linux/process/LinuxProcessLauncher.h"
#include "runtime/server/ModelServer.h"

#include <QCoreApplication>

#include <cstdio>

using namespace tallowfern;

namespace {

QCoro::Task<> serve(ModelServer* server, ModelFiles files)
{
    try {
        auto serving = server->serve(files, {});
        const ServedModel served = co_await serving;
        std::printf("%s\n", qUtf8Printable(served.address.toString()));
        std::fflush(stdout);
    } catch (const LocalizedError& error) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(error.description()));
        QCoreApplication::exit(1);
    }
}

} // namespace

/// serve_model PROGRAM MODEL: prints the address when the model listens, and stays until it is killed.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    SystemClock clock;
    LinuxProcessLauncher launcher;
    ModelServer server(clock, launcher);
    serve(&server, {QStringLiteral("Model"), arguments.value(1), arguments.value(2), std::nullopt});
    return QCoreApplication::exec();
}
