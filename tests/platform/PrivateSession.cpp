#include "platform/PrivateSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

bool waitFor(const std::function<bool()>& isSo, int milliseconds)
{
    QElapsedTimer elapsed;
    elapsed.start();
    QTimer turn; // so that the loop turns also while nothing happens
    turn.start(5);
    while (!isSo()) {
        if (elapsed.elapsed() > milliseconds)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

PrivateSession::PrivateSession()
{
    const QString home = m_folder.filePath(u"home"_s);
    const QString run = m_folder.filePath(u"run"_s);
    QDir().mkpath(home);
    QDir().mkpath(run);
    QFile::setPermissions(run, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "PULSE_SERVER",
             "PIPEWIRE_REMOTE", "WAYLAND_DISPLAY", "AT_SPI_BUS_ADDRESS"})
        qunsetenv(name);
    qputenv("HOME", home.toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", run.toLocal8Bit());
    qputenv("GSETTINGS_BACKEND", "memory");
    const QString bus = u"unix:path="_s + run + u"/bus"_s;
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.toLocal8Bit());
    start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--nopidfile"_s, u"--address="_s + bus});
    // That a socket is there does not mean yet that somebody listens, here and below.
    const QStringList question{u"--session"_s, u"--print-reply"_s, u"--dest=org.freedesktop.DBus"_s,
        u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus.ListNames"_s};
    if (!waitFor([this, question] { return succeeds(u"dbus-send"_s, question); }))
        throw std::runtime_error("the session bus does not start");
}

PrivateSession::~PrivateSession()
{
    while (!m_processes.empty())
        kill(m_processes.back().get());
}

QProcess* PrivateSession::start(const QString& program, const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    process->start(program, arguments);
    if (!process->waitForStarted())
        throw std::runtime_error(qPrintable(program + u" does not start"_s));
    m_processes.push_back(std::move(process));
    return m_processes.back().get();
}

void PrivateSession::kill(QProcess* process)
{
    process->terminate(); // so that it ends its own children
    if (!process->waitForFinished(1000))
        process->kill();
    process->waitForFinished();
    std::erase_if(m_processes, [process](const auto& each) { return each.get() == process; });
}

QString PrivateSession::output(const QString& program, const QStringList& arguments) const
{
    QProcess process;
    process.start(program, arguments);
    if (!waitFor([&process] { return process.state() == QProcess::NotRunning; }) || process.exitCode() != 0)
        return u"(failed)"_s;
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

bool PrivateSession::succeeds(const QString& program, const QStringList& arguments) const
{
    return output(program, arguments) != u"(failed)"_s;
}

void PrivateSession::startDisplay()
{
    const QString number = m_folder.filePath(u"display"_s);
    start(u"sh"_s, {u"-c"_s, u"exec Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset 3>"_s + number});
    QFile file(number);
    const bool isUp = waitFor([&file] { return (file.isOpen() || file.open(QIODevice::ReadOnly)) && file.size() > 1; });
    qputenv("DISPLAY", ":" + file.readAll().trimmed());
    qputenv("GDK_BACKEND", "x11");
    qputenv("QT_QPA_PLATFORM", "xcb");
    start(u"openbox"_s, {u"--sm-disable"_s});
    const QStringList question{u"-root"_s, u"_NET_SUPPORTING_WM_CHECK"_s};
    if (!isUp || !waitFor([this, question] { return output(u"xprop"_s, question).contains(u"window id"_s); }))
        throw std::runtime_error("the display does not start");
    succeeds(u"dbus-update-activation-environment"_s, {u"--all"_s});
}

QProcess* PrivateSession::startAccessibilityBus()
{
    QProcess* launcher = start(u"/usr/libexec/at-spi-bus-launcher"_s, {u"--launch-immediately"_s, u"--a11y=1"_s});
    // Not by calling it: that would start a second launcher, which takes the name and says that nobody needs it.
    const QStringList question{u"--session"_s, u"--print-reply"_s, u"--dest=org.freedesktop.DBus"_s,
        u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus.NameHasOwner"_s, u"string:org.a11y.Bus"_s};
    if (!waitFor([this, question] { return output(u"dbus-send"_s, question).contains(u"boolean true"_s); }))
        throw std::runtime_error("the accessibility bus does not start");
    return launcher;
}

void PrivateSession::startSoundServer()
{
    start(u"pipewire"_s);
    // The session manager and the other server end at once where they find nobody.
    if (!waitFor([this] { return succeeds(u"pw-cli"_s, {u"info"_s, u"0"_s}); }))
        throw std::runtime_error("the sound server does not start");
    start(u"wireplumber"_s);
    startPulseServer();
}

void PrivateSession::startPulseServer()
{
    m_pulse = start(u"pipewire-pulse"_s);
    if (!waitFor([this] { return succeeds(u"pactl"_s, {u"info"_s}); }))
        throw std::runtime_error("the sound server does not start");
}

void PrivateSession::stopPulseServer()
{
    kill(std::exchange(m_pulse, nullptr));
}

void PrivateSession::makeDefault(const QString& kind, const QString& name) const
{
    // The session manager is the last part to be ready: only it takes defaults, and gives streams their devices.
    const auto isDefault = [&] {
        return succeeds(u"pactl"_s, {u"set-default-"_s + kind, name})
            && output(u"pactl"_s, {u"get-default-"_s + kind}).trimmed() == name;
    };
    if (!waitFor(isDefault))
        throw std::runtime_error("the sound server takes no default");
}

QString PrivateSession::loadModule(const QStringList& arguments) const
{
    return output(u"pactl"_s, QStringList{u"load-module"_s} + arguments);
}

QString PrivateSession::addMicrophone() const
{
    const QStringList microphone{
        u"module-remap-source"_s, u"source_name=vmic"_s, u"master=vmic_in.monitor"_s, u"channel_map=mono"_s};
    if (!output(u"pactl"_s, {u"list"_s, u"short"_s, u"sinks"_s}).contains(u"vmic_in"_s))
        loadModule({u"module-null-sink"_s, u"sink_name=vmic_in"_s, u"rate=48000"_s, u"channel_map=mono"_s});
    QString module = loadModule(microphone);
    makeDefault(u"source"_s, u"vmic"_s);
    return module;
}

} // namespace tallowfern
