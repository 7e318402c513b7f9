#include "platform/linux/x11/X11Workspace.h"

#include "platform/linux/x11/DesktopEntry.h"

#include <QCoreApplication>
#include <QSysInfo>

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr xcb_window_t kNoWindow = XCB_WINDOW_NONE;

xcb_window_t windowOf(const RunningApplication& application)
{
    return static_cast<xcb_window_t>(application.identity);
}

} // namespace

X11Workspace::X11Workspace(X11Connection& connection)
    : m_connection(connection)
{
    connect(&m_connection, &X11Connection::eventReceived, this, &X11Workspace::handleEvent);
    connect(&m_connection, &X11Connection::lost, this, &X11Workspace::update);
    m_connection.selectEvents(m_connection.root(), XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_FOCUS_CHANGE);
    update();
}

bool X11Workspace::isTerminated(const RunningApplication& application) const
{
    const auto known = m_known.constFind(windowOf(application));
    return known == m_known.cend() || known->identity != application.identity;
}

void X11Workspace::activate(const RunningApplication& application)
{
    if (isTerminated(application))
        return;
    const xcb_window_t window = windowOf(application);
    if (speaksExtendedHints()) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = m_connection.atom(u"_NET_ACTIVE_WINDOW"_s);
        message.data.data32[0] = 2; // as a pager: window managers refuse others whose time stamp looks stale
        xcb_send_event(m_connection.xcb(), false, m_connection.root(),
            XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
            reinterpret_cast<const char*>(&message));
    } else {
        const quint32 above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(m_connection.xcb(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_set_input_focus(m_connection.xcb(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    }
    m_connection.flush();
}

bool X11Workspace::isInFrontNow(const RunningApplication& application)
{
    const xcb_window_t window = windowOf(application);
    return !isTerminated(application) && candidate() == window && hasInputFocus(window);
}

void X11Workspace::handleEvent(const xcb_generic_event_t* event)
{
    switch (x11EventType(event)) {
    case XCB_PROPERTY_NOTIFY: {
        const xcb_atom_t changed = x11Event<xcb_property_notify_event_t>(event)->atom;
        if (changed == m_connection.atom(u"_NET_ACTIVE_WINDOW"_s)
            || changed == m_connection.atom(u"_NET_SUPPORTING_WM_CHECK"_s))
            update();
        break;
    }
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT:
        update();
        break;
    case XCB_DESTROY_NOTIFY:
        if (m_known.remove(x11Event<xcb_destroy_notify_event_t>(event)->window))
            update();
        break;
    }
}

void X11Workspace::update()
{
    const xcb_window_t window = m_connection.isAlive() ? candidate() : kNoWindow;
    const bool known = watch(window) && hasInputFocus(window) && !isDesktop(window);
    const RunningApplication application = known ? m_known.value(window) : RunningApplication{};
    const bool inFront = known && application.processIdentifier != QCoreApplication::applicationPid();
    if (inFront ? m_frontmost == application : !m_frontmost)
        return;
    m_frontmost = inFront ? std::optional(application) : std::nullopt;
    Q_EMIT frontmostChanged();
}

bool X11Workspace::watch(xcb_window_t window)
{
    if (!window || m_known.contains(window))
        return window;
    const quint32 events = XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    const auto request = xcb_change_window_attributes_checked(m_connection.xcb(), window, XCB_CW_EVENT_MASK, &events);
    if (m_connection.errorOf(request) != 0)
        return false; // gone already
    m_known.insert(window, describe(window));
    return true;
}

/// The window that the window manager calls active, or else the one that holds the focus.
xcb_window_t X11Workspace::candidate()
{
    if (speaksExtendedHints())
        return number(m_connection.root(), u"_NET_ACTIVE_WINDOW"_s);
    const auto path = focusPath();
    for (const xcb_window_t window : path) {
        if (number(window, u"WM_STATE"_s) != 0)
            return window; // below a frame
    }
    return path.empty() ? kNoWindow : path.back();
}

bool X11Workspace::hasInputFocus(xcb_window_t window)
{
    const auto path = focusPath();
    return std::find(path.begin(), path.end(), window) != path.end();
}

bool X11Workspace::isDesktop(xcb_window_t window)
{
    const quint32 type = number(window, u"_NET_WM_WINDOW_TYPE"_s);
    return type
        && (type == m_connection.atom(u"_NET_WM_WINDOW_TYPE_DESKTOP"_s)
            || type == m_connection.atom(u"_NET_WM_WINDOW_TYPE_DOCK"_s));
}

bool X11Workspace::speaksExtendedHints()
{
    const QString check = u"_NET_SUPPORTING_WM_CHECK"_s;
    const xcb_window_t window = number(m_connection.root(), check);
    return window && number(window, check) == window; // a dead window manager leaves the first one behind
}

/// From the window with the input focus up to the one below the root.
std::vector<xcb_window_t> X11Workspace::focusPath()
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto focus = m_connection.take(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
    xcb_window_t window = focus ? focus->focus : kNoWindow;
    std::vector<xcb_window_t> path;
    while (window > XCB_INPUT_FOCUS_POINTER_ROOT && window != m_connection.root()) {
        path.push_back(window);
        const auto tree = m_connection.take(xcb_query_tree_reply(xcb, xcb_query_tree(xcb, window), nullptr));
        if (!tree)
            return {};
        window = tree->parent;
    }
    return path;
}

RunningApplication X11Workspace::describe(xcb_window_t window)
{
    RunningApplication application;
    application.identity = quint64(++m_generation) << 32 | window;
    const QString machine = text(window, u"WM_CLIENT_MACHINE"_s);
    if (machine.isEmpty() || machine == QSysInfo::machineHostName())
        application.processIdentifier = number(window, u"_NET_WM_PID"_s);

    const QStringList names = text(window, u"WM_CLASS"_s).split(QChar(0)); // instance, class
    const QString windowClass = names.value(1);
    const QStringList candidates = {text(window, u"_GTK_APPLICATION_ID"_s), text(window, u"_KDE_NET_WM_DESKTOP_FILE"_s),
        windowClass, windowClass.toLower(), names.value(0)};
    for (const QString& identifier : candidates) {
        const auto name = desktopEntryName(identifier);
        if (!name)
            continue;
        application.applicationIdentifier = identifier;
        application.localizedName = *name;
        return application;
    }
    application.applicationIdentifier = windowClass;
    for (const QString& name : {windowClass, text(window, u"_NET_WM_NAME"_s), text(window, u"WM_NAME"_s)}) {
        if (application.localizedName.isEmpty())
            application.localizedName = name;
    }
    return application;
}

QString X11Workspace::text(xcb_window_t window, const QString& property)
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto cookie
        = xcb_get_property(xcb, false, window, m_connection.atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024);
    const auto reply = m_connection.take(xcb_get_property_reply(xcb, cookie, nullptr));
    if (!reply || reply->format != 8)
        return {};
    const QByteArray bytes = x11PropertyBytes(reply.get());
    return reply->type == XCB_ATOM_STRING ? QString::fromLatin1(bytes) : QString::fromUtf8(bytes);
}

quint32 X11Workspace::number(xcb_window_t window, const QString& property)
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto cookie
        = xcb_get_property(xcb, false, window, m_connection.atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, 1);
    const auto reply = m_connection.take(xcb_get_property_reply(xcb, cookie, nullptr));
    if (!reply || reply->format != 32 || reply->value_len == 0)
        return 0;
    return *static_cast<const quint32*>(xcb_get_property_value(reply.get()));
}

} // namespace tallowfern
