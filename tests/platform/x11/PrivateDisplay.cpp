#include "platform/x11/PrivateDisplay.h"

#include "platform/linux/x11/VirtualKeys.h"

#include <QFile>

#include <csignal>
#include <linux/input-event-codes.h>
#include <map>
#include <stdexcept>
#include <xcb/xtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

PrivateDisplay::PrivateDisplay(WindowManager windowManager)
    : m_earlierDisplay(qgetenv("DISPLAY"))
{
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(u"Xvfb"_s,
        {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1280x800x24"_s, u"-nolisten"_s, u"tcp"_s, u"-noreset"_s});
    if (!waitFor([this] { return m_server.canReadLine() || m_server.state() == QProcess::NotRunning; })
        || !m_server.canReadLine())
        throw std::runtime_error("the X server does not start");
    qputenv("DISPLAY", ":" + m_server.readLine().trimmed());
    if (windowManager == WindowManager::None)
        return;
    QFile configuration(m_folder.filePath(u"rc.xml"_s)); // without the stock key bindings
    if (!configuration.open(QIODevice::WriteOnly))
        throw std::runtime_error("no room for a configuration");
    configuration.write("<openbox_config xmlns='http://openbox.org/3.4/rc'><focus><focusNew>yes</focusNew></focus>"
                        "</openbox_config>");
    configuration.close();
    start(u"openbox"_s, {u"--sm-disable"_s, u"--config-file"_s, configuration.fileName()});
    const bool isUp = waitFor([this] {
        return output(u"xprop"_s, {u"-root"_s, u"_NET_SUPPORTING_WM_CHECK"_s}).contains("window id");
    });
    if (!isUp || !givesFocus())
        throw std::runtime_error("the window manager does not start");
}

/// It tells its name before it is ready: a window that comes in between is taken over without the focus.
bool PrivateDisplay::givesFocus()
{
    for (int attempt = 0; attempt < 25; ++attempt) {
        TestWindow probe("Probe");
        probe.show();
        const QByteArray id = "0x" + QByteArray::number(probe.id(), 16);
        if (waitFor([&] { return output(u"xprop"_s, {u"-root"_s, u"_NET_ACTIVE_WINDOW"_s}).contains(id); }, 200))
            return true;
    }
    return false;
}

PrivateDisplay::~PrivateDisplay()
{
    for (const auto& program : m_programs) {
        ::kill(static_cast<pid_t>(program->processId()), SIGCONT);
        program->kill();
        program->waitForFinished();
    }
    stopServer();
    qputenv("DISPLAY", m_earlierDisplay);
}

QProcess* PrivateDisplay::start(const QString& program, const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(program, arguments);
    if (!process->waitForStarted())
        throw std::runtime_error(qPrintable(program + u" does not start"_s));
    m_programs.push_back(std::move(process));
    return m_programs.back().get();
}

QByteArray PrivateDisplay::output(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!waitFor([&process] { return process.state() == QProcess::NotRunning; }))
        throw std::runtime_error(qPrintable(program + u" does not end"_s));
    return process.readAllStandardOutput();
}

void PrivateDisplay::stopServer()
{
    m_server.kill();
    m_server.waitForFinished();
}

PrivateDisplay& sharedDisplay()
{
    static PrivateSession session; // a home folder and a bus, so that nothing of the user's is touched
    static PrivateDisplay display(PrivateDisplay::WindowManager::Openbox);
    return display;
}

Keyboard::Keyboard() = default;

Keyboard::~Keyboard()
{
    const QList<quint32> down = m_down;
    for (const quint32 key : down)
        release(key);
}

void Keyboard::press(quint32 evdev)
{
    send(XCB_KEY_PRESS, evdev);
    m_down.append(evdev);
}

void Keyboard::release(quint32 evdev)
{
    send(XCB_KEY_RELEASE, evdev);
    m_down.removeAll(evdev);
}

void Keyboard::tap(quint32 evdev)
{
    press(evdev);
    release(evdev);
}

void Keyboard::send(int type, quint32 evdev)
{
    xcb_test_fake_input(m_connection->xcb(), static_cast<quint8>(type), static_cast<quint8>(evdev + kX11KeycodeOffset),
        XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    m_connection->settle();
}

namespace {

/// One for all windows: the server gives a closed connection's window numbers to the next one, which confuses the
/// window manager when it happens within milliseconds.
X11Connection& programsConnection()
{
    static std::map<QByteArray, std::unique_ptr<X11Connection>> connections;
    auto& connection = connections[qgetenv("DISPLAY")];
    if (connection)
        connection->settle();
    if (!connection || !connection->isAlive())
        connection = X11Connection::open();
    return *connection;
}

} // namespace

TestWindow::TestWindow(const QByteArray& windowClass, quint32 processIdentifier)
    : m_connection(programsConnection())
    , m_window(xcb_generate_id(m_connection.xcb()))
{
    xcb_connection_t* xcb = m_connection.xcb();
    const quint32 events = XCB_EVENT_MASK_KEY_PRESS;
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, m_window, m_connection.root(), 100, 100, 300, 200, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    setText(u"WM_CLASS"_s, windowClass.toLower() + '\0' + windowClass + '\0');
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, m_window, m_connection.atom(u"_NET_WM_PID"_s), XCB_ATOM_CARDINAL,
        32, 1, &processIdentifier);
    connect(&m_connection, &X11Connection::eventReceived, this, [this](const xcb_generic_event_t* event) {
        if (x11EventType(event) != XCB_KEY_PRESS)
            return;
        const auto* press = x11Event<xcb_key_press_event_t>(event);
        if (press->event != m_window)
            return;
        const quint32 code = press->detail - kX11KeycodeOffset;
        const QList<quint32> modifierKeys = {KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_LEFTALT, KEY_LEFTMETA};
        if (!modifierKeys.contains(code))
            keys.append({code, static_cast<quint16>(press->state & 0xff)});
    });
}

TestWindow::~TestWindow()
{
    destroy();
}

void TestWindow::show()
{
    xcb_map_window(m_connection.xcb(), m_window);
    m_connection.settle();
}

void TestWindow::setText(const QString& property, const QByteArray& value)
{
    xcb_change_property(m_connection.xcb(), XCB_PROP_MODE_REPLACE, m_window, m_connection.atom(property),
        XCB_ATOM_STRING, 8, static_cast<quint32>(value.size()), value.constData());
    m_connection.flush();
}

void TestWindow::setNumbers(const QString& property, const QList<quint32>& values)
{
    xcb_change_property(m_connection.xcb(), XCB_PROP_MODE_REPLACE, m_window, m_connection.atom(property),
        XCB_ATOM_CARDINAL, 32, static_cast<quint32>(values.size()), values.constData());
    m_connection.flush();
}

void TestWindow::setAtom(const QString& property, const QString& value)
{
    const xcb_atom_t atom = m_connection.atom(value);
    xcb_change_property(
        m_connection.xcb(), XCB_PROP_MODE_REPLACE, m_window, m_connection.atom(property), XCB_ATOM_ATOM, 32, 1, &atom);
    m_connection.flush();
}

void TestWindow::destroy()
{
    xcb_destroy_window(m_connection.xcb(), m_window);
    m_connection.settle();
}

/// Without a window manager a program has to do it by itself.
void TestWindow::takeFocus()
{
    xcb_set_input_focus(m_connection.xcb(), XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
    m_connection.settle();
}

} // namespace tallowfern
