#include "runtime/server/ServerLock.h"

#include <QFile>
#include <QString>

#include <fcntl.h>
#include <sys/file.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr double kPatience = 2.5; // seconds
constexpr double kBetweenTries = 0.05; // seconds; the kernel tells nobody that a lock has become free

/// Not open where the session has no folder for it.
Descriptor openLock()
{
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty())
        return {};
    const QByteArray path = QFile::encodeName(folder + u"/tallowfern-server.lock"_s);
    return Descriptor(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
}

} // namespace

QCoro::Task<Descriptor> takeServerLock(Clock& clock, std::stop_token stop)
{
    Descriptor file = openLock();
    if (!file.isOpen())
        co_return Descriptor();
    const double end = clock.now() + kPatience;
    while (::flock(file.number(), LOCK_EX | LOCK_NB) != 0) {
        if (stop.stop_requested() || clock.now() >= end)
            co_return Descriptor();
        co_await clock.sleep(kBetweenTries, stop);
    }
    co_return std::move(file);
}

} // namespace tallowfern
