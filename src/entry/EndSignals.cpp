#include "EndSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace tallowfern {

namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};
int writeEnd = -1; // a signal handler has nothing but the process to hang on

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(writeEnd, &byte, 1);
}

} // namespace

EndSignals::EndSignals(std::function<void()> onEnd)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, m_sockets) != 0)
        qFatal("no sockets");
    writeEnd = m_sockets[0];
    auto* notifier = new QSocketNotifier(m_sockets[1], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [notifier, end = std::move(onEnd)] {
        notifier->setEnabled(false);
        end();
    });
    for (const int number : kSignals)
        std::signal(number, onSignal);
}

EndSignals::~EndSignals()
{
    for (const int number : kSignals)
        std::signal(number, SIG_DFL);
    ::close(m_sockets[0]);
    ::close(m_sockets[1]);
}

} // namespace tallowfern
