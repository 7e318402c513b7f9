#include "platform/linux/screens/X11Screens.h"

#include "platform/linux/screens/X11Reservations.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

#include <cmath>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

/// Qt leaves the corner of a screen where it is in device pixels, and scales its size.
QRect devicePixels(const QScreen* screen)
{
    const QRect logical = screen->geometry();
    const double ratio = screen->devicePixelRatio();
    return {logical.topLeft(),
        QSize(static_cast<int>(std::lround(logical.width() * ratio)),
            static_cast<int>(std::lround(logical.height() * ratio)))};
}

QRectF logicalPixels(const QRect& rect, const QRect& monitor, double ratio)
{
    return {monitor.left() + (rect.left() - monitor.left()) / ratio,
        monitor.top() + (rect.top() - monitor.top()) / ratio, rect.width() / ratio, rect.height() / ratio};
}

Screen describe(const QScreen* screen, const X11Reservations& reservations)
{
    const QRect monitor = devicePixels(screen);
    return {screen->geometry(), logicalPixels(freePart(monitor, reservations), monitor, screen->devicePixelRatio())};
}

} // namespace

X11Screens::X11Screens(X11Connection& connection)
    : m_connection(connection)
{
    m_connection.selectEvents(m_connection.root(), XCB_EVENT_MASK_PROPERTY_CHANGE);
    m_connection.flush();
    connect(&m_connection, &X11Connection::eventReceived, this, &X11Screens::handleEvent);
    const auto watch = [this](QScreen* screen) {
        connect(screen, &QScreen::geometryChanged, this, &X11Screens::tellSoon);
        tellSoon();
    };
    for (QScreen* screen : QGuiApplication::screens())
        connect(screen, &QScreen::geometryChanged, this, &X11Screens::tellSoon);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, watch);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &X11Screens::tellSoon);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &X11Screens::tellSoon);
}

QList<Screen> X11Screens::screens() const
{
    const X11Reservations reservations = readReservations(m_connection);
    QList<Screen> list;
    for (const QScreen* screen : QGuiApplication::screens())
        list.append(describe(screen, reservations));
    return list;
}

std::optional<Screen> X11Screens::focusedScreen() const
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto cookie = xcb_get_property(
        xcb, false, m_connection.root(), m_connection.atom(u"_NET_ACTIVE_WINDOW"_s), XCB_ATOM_WINDOW, 0, 1);
    const auto active = m_connection.take(xcb_get_property_reply(xcb, cookie, nullptr));
    if (!active || active->value_len == 0)
        return std::nullopt;
    const xcb_window_t window = *static_cast<const xcb_window_t*>(xcb_get_property_value(active.get()));
    if (window == XCB_WINDOW_NONE)
        return std::nullopt;
    const auto sizeCookie = xcb_get_geometry(xcb, window);
    const auto placeCookie = xcb_translate_coordinates(xcb, window, m_connection.root(), 0, 0);
    const auto typeCookie
        = xcb_get_property(xcb, false, window, m_connection.atom(u"_NET_WM_WINDOW_TYPE"_s), XCB_ATOM_ATOM, 0, 1);
    const auto size = m_connection.take(xcb_get_geometry_reply(xcb, sizeCookie, nullptr));
    const auto place = m_connection.take(xcb_translate_coordinates_reply(xcb, placeCookie, nullptr));
    const auto type = m_connection.take(xcb_get_property_reply(xcb, typeCookie, nullptr));
    if (!size || !place || !type)
        return std::nullopt;
    // A click on the desktop gives the focus to a window that lies behind all the screens.
    if (type->value_len == 1
        && *static_cast<const xcb_atom_t*>(xcb_get_property_value(type.get()))
            == m_connection.atom(u"_NET_WM_WINDOW_TYPE_DESKTOP"_s))
        return std::nullopt;
    const QRect frame(place->dst_x, place->dst_y, size->width, size->height);
    const QScreen* best = nullptr;
    int largest = 0;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect shown = frame & devicePixels(screen);
        if (shown.width() * shown.height() > largest) {
            largest = shown.width() * shown.height();
            best = screen;
        }
    }
    return best ? std::optional(describe(best, readReservations(m_connection))) : std::nullopt;
}

QPointF X11Screens::pointer() const
{
    return QCursor::pos();
}

void X11Screens::handleEvent(const xcb_generic_event_t* event)
{
    if (x11EventType(event) != XCB_PROPERTY_NOTIFY)
        return;
    const xcb_atom_t changed = x11Event<xcb_property_notify_event_t>(event)->atom;
    if (changed == m_connection.atom(u"_NET_WORKAREA"_s))
        tellSoon();
    else if (changed == m_connection.atom(u"_NET_CURRENT_DESKTOP"_s))
        Q_EMIT workspaceChanged();
}

/// One change of the monitors arrives as many; and Qt learns of it in its own time.
void X11Screens::tellSoon()
{
    if (m_isToldSoon)
        return;
    m_isToldSoon = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_isToldSoon = false;
            Q_EMIT screensChanged();
        },
        Qt::QueuedConnection);
}

} // namespace tallowfern
