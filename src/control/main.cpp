#include "StatusFollower.h"
#include "control/ControlProtocol.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

using namespace tallowfern::control;
using namespace Qt::StringLiterals;

namespace {

int fail(int status, const QString& sentence)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(sentence));
    return status;
}

/// Without a verb, and to look at the desktop, this program becomes the application, which lies beside it in build tree
/// and installation alike.
int becomeApplication(char** argv)
{
    const QString self = QFileInfo(u"/proc/self/exe"_s).symLinkTarget();
    const QByteArray program = QFileInfo(self).path().toLocal8Bit() + "/../lib/tallowfern/tallowfern-app";
    ::execv(program.constData(), argv);
    return fail(kFailed,
        u"Tallowfern cannot be started from %1: %2. Install it again."_s.arg(
            QString::fromLocal8Bit(program), QString::fromLocal8Bit(std::strerror(errno))));
}

QDBusMessage call(QDBusConnection& bus, const QString& method, const QVariantList& arguments)
{
    auto message = QDBusMessage::createMethodCall(
        QString::fromLatin1(kService), QString::fromLatin1(kPath), QString::fromLatin1(kInterface), method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return bus.call(message);
}

int showStatus(QDBusConnection& bus, const QStringList& words)
{
    using Form = StatusFollower::Form;
    const StatusFollower follower(bus,
        words.contains(u"--json"_s) ? Form::Json
                                    : Form::Text); // before the first report, so that no change falls between
    const QDBusMessage reply = call(bus, u"Status"_s, {});
    if (reply.type() == QDBusMessage::ErrorMessage)
        return fail(kFailed, u"Tallowfern is not running."_s);
    follower.print(reply.arguments().value(0).toString());
    return words.contains(u"--follow"_s) ? QCoreApplication::exec() : kDone;
}

int run(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments().mid(1);
    if (words.value(0) == u"--help"_s) {
        std::fputs(qUtf8Printable(usage()), stdout);
        return kDone;
    }
    if (const QString problem = usageProblem(words); !problem.isEmpty())
        return fail(kUsage, problem + u'\n' + usage());
    if (words.first() == u"doctor"_s || words.first() == u"ask"_s)
        return becomeApplication(argv); // which knows the desktop and the models
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return fail(kFailed, u"Tallowfern cannot be reached: there is no session bus."_s);
    if (words.first() == u"status"_s)
        return showStatus(bus, words);
    const QDBusMessage reply = call(bus, u"Do"_s, {words});
    if (reply.type() == QDBusMessage::ErrorMessage)
        return fail(kFailed, u"Tallowfern is not running."_s);
    return kDone;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return becomeApplication(argv);
    const int status = run(argc, argv);
    std::fflush(nullptr);
    std::_Exit(status); // Qt's bus thread complains when its types are taken down under it
}
