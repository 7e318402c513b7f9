#include "platform/linux/screens/X11FloatingPanels.h"

#include <xcb/xfixes.h>

#include <array>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kAllWorkspaces = 0xFFFFFFFF;
constexpr quint32 kAdd = 1;
constexpr quint32 kApplication = 1; // who asks, in the words of the hints

const std::array kStates{u"_NET_WM_STATE_ABOVE"_s, u"_NET_WM_STATE_STICKY"_s, u"_NET_WM_STATE_SKIP_TASKBAR"_s,
    u"_NET_WM_STATE_SKIP_PAGER"_s};

} // namespace

X11FloatingPanels::X11FloatingPanels(X11Connection& connection)
    : m_connection(connection)
    , m_compositor(connection.atom(u"_NET_WM_CM_S0"_s))
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto versionCookie = xcb_xfixes_query_version(xcb, 5, 0); // the server wants to be asked first
    m_connection.take(xcb_xfixes_query_version_reply(xcb, versionCookie, nullptr));
    if (const auto* extension = xcb_get_extension_data(xcb, &xcb_xfixes_id))
        m_firstFixesEvent = extension->first_event;
    const quint32 ends = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER
        | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY
        | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    xcb_xfixes_select_selection_input(xcb, m_connection.root(), m_compositor, ends);
    connect(&m_connection, &X11Connection::eventReceived, this, &X11FloatingPanels::handleEvent);
    const auto owner
        = m_connection.take(xcb_get_selection_owner_reply(xcb, xcb_get_selection_owner(xcb, m_compositor), nullptr));
    m_isTranslucent = owner && owner->owner != XCB_WINDOW_NONE;
}

void X11FloatingPanels::handleEvent(const xcb_generic_event_t* event)
{
    if (x11EventType(event) == XCB_MAP_NOTIFY) {
        askForAll(x11Event<xcb_map_notify_event_t>(event)->window);
        m_connection.flush();
    }
    if (x11EventType(event) != m_firstFixesEvent + XCB_XFIXES_SELECTION_NOTIFY)
        return;
    const auto* change = x11Event<xcb_xfixes_selection_notify_event_t>(event);
    if (change->selection != m_compositor)
        return;
    m_isTranslucent
        = change->subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER && change->owner != XCB_WINDOW_NONE;
    Q_EMIT translucencyChanged();
}

void X11FloatingPanels::keepAbove(quintptr window)
{
    const auto panel = static_cast<xcb_window_t>(window);
    // A window manager clears the properties when it learns that a window went, which may be after they were set
    // anew for the next showing: so it is asked once more when the window has come.
    m_connection.selectEvents(panel, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    if (isShown(panel))
        askForAll(panel);
    else
        setBeforeShown(panel);
    m_connection.settle(); // the window is shown next, on another connection
}

void X11FloatingPanels::askForAll(xcb_window_t panel)
{
    ask(panel, u"_NET_WM_DESKTOP"_s, kAllWorkspaces, kApplication, 0);
    for (std::size_t i = 0; i < kStates.size(); i += 2)
        ask(panel, u"_NET_WM_STATE"_s, kAdd, m_connection.atom(kStates[i]), m_connection.atom(kStates[i + 1]));
    const quint32 above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_connection.xcb(), panel, XCB_CONFIG_WINDOW_STACK_MODE, &above);
}

bool X11FloatingPanels::isShown(xcb_window_t window)
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto attributes
        = m_connection.take(xcb_get_window_attributes_reply(xcb, xcb_get_window_attributes(xcb, window), nullptr));
    return attributes && attributes->map_state != XCB_MAP_STATE_UNMAPPED;
}

void X11FloatingPanels::setBeforeShown(xcb_window_t window)
{
    xcb_connection_t* xcb = m_connection.xcb();
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window, m_connection.atom(u"_NET_WM_DESKTOP"_s), XCB_ATOM_CARDINAL,
        32, 1, &kAllWorkspaces);
    std::array<xcb_atom_t, kStates.size()> states{};
    for (std::size_t i = 0; i < kStates.size(); ++i)
        states[i] = m_connection.atom(kStates[i]);
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window, m_connection.atom(u"_NET_WM_STATE"_s), XCB_ATOM_ATOM, 32,
        static_cast<quint32>(states.size()), states.data());
}

void X11FloatingPanels::ask(xcb_window_t window, const QString& message, quint32 first, quint32 second, quint32 third)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = m_connection.atom(message);
    event.data.data32[0] = first;
    event.data.data32[1] = second;
    event.data.data32[2] = third;
    event.data.data32[3] = kApplication;
    xcb_send_event(m_connection.xcb(), false, m_connection.root(),
        XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char*>(&event));
}

} // namespace tallowfern
