#include "platform/linux/screens/X11Reservations.h"

#include <algorithm>
#include <array>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

// Four depths, and from where to where each of them reaches; the older property has the depths alone.
constexpr std::array kEdges{Qt::LeftEdge, Qt::RightEdge, Qt::TopEdge, Qt::BottomEdge};
constexpr std::size_t kDepths = kEdges.size();
constexpr std::size_t kDepthsAndReaches = 3 * kDepths;
constexpr quint32 kMostValues = 4096;
constexpr quint32 kLargest = 0x7fff; // of the coordinates that X knows

int coordinate(quint32 value)
{
    return static_cast<int>(std::min(value, kLargest));
}

QRect strip(Qt::Edge edge, int depth, int from, int length, const QSize& root)
{
    switch (edge) {
    case Qt::LeftEdge:
        return {0, from, depth, length};
    case Qt::RightEdge:
        return {root.width() - depth, from, depth, length};
    case Qt::TopEdge:
        return {from, 0, length, depth};
    case Qt::BottomEdge:
        return {from, root.height() - depth, length, depth};
    }
    return {};
}

void addStruts(std::vector<Strut>& struts, const std::vector<quint32>& values, const QSize& root)
{
    if (values.size() < kDepths)
        return;
    const bool hasReaches = values.size() >= kDepthsAndReaches;
    for (std::size_t i = 0; i < kDepths; ++i) {
        const int from = hasReaches ? coordinate(values[kDepths + 2 * i]) : 0;
        const int to = hasReaches ? coordinate(values[kDepths + 2 * i + 1]) : coordinate(kLargest);
        if (values[i] > 0 && from <= to)
            struts.push_back({kEdges[i], strip(kEdges[i], coordinate(values[i]), from, to - from + 1, root)});
    }
}

/// Quadruples; `first` and `count` are of them.
std::vector<QRect> rectangles(const std::vector<quint32>& values, std::size_t first, std::size_t count)
{
    std::vector<QRect> list;
    for (std::size_t i = 4 * first; i + 4 <= values.size() && list.size() < count; i += 4)
        list.emplace_back(
            coordinate(values[i]), coordinate(values[i + 1]), coordinate(values[i + 2]), coordinate(values[i + 3]));
    return list;
}

class Properties {
public:
    explicit Properties(X11Connection& connection)
        : m_connection(connection)
    {
    }

    xcb_get_property_cookie_t ask(xcb_window_t window, const QString& name)
    {
        return xcb_get_property(
            m_connection.xcb(), false, window, m_connection.atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, kMostValues);
    }

    std::vector<quint32> answer(xcb_get_property_cookie_t cookie)
    {
        const auto reply = m_connection.take(xcb_get_property_reply(m_connection.xcb(), cookie, nullptr));
        if (!reply || reply->format != 32)
            return {};
        const auto* first = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
        return {first, first + reply->value_len};
    }

private:
    X11Connection& m_connection;
};

QRect rest(const QRect& left, const Strut& strut, const QRect& monitor)
{
    const QRect taken = strut.area & monitor;
    QRect rest = left;
    if (taken.isEmpty())
        return rest;
    switch (strut.edge) {
    case Qt::LeftEdge:
        rest.setLeft(std::max(rest.left(), taken.right() + 1));
        break;
    case Qt::RightEdge:
        rest.setRight(std::min(rest.right(), taken.left() - 1));
        break;
    case Qt::TopEdge:
        rest.setTop(std::max(rest.top(), taken.bottom() + 1));
        break;
    case Qt::BottomEdge:
        rest.setBottom(std::min(rest.bottom(), taken.top() - 1));
        break;
    }
    return rest;
}

} // namespace

X11Reservations readReservations(X11Connection& connection)
{
    xcb_connection_t* xcb = connection.xcb();
    const xcb_window_t root = connection.root();
    Properties properties(connection);
    const auto sizeCookie = xcb_get_geometry(xcb, root);
    const auto clientsCookie = properties.ask(root, u"_NET_CLIENT_LIST"_s);
    const auto workspaceCookie = properties.ask(root, u"_NET_CURRENT_DESKTOP"_s);
    const auto areaCookie = properties.ask(root, u"_NET_WORKAREA"_s);
    const auto size = connection.take(xcb_get_geometry_reply(xcb, sizeCookie, nullptr));
    const auto clients = properties.answer(clientsCookie);
    const auto workspaces = properties.answer(workspaceCookie);
    const quint32 workspace = workspaces.empty() ? 0 : workspaces.front();

    std::vector<std::array<xcb_get_property_cookie_t, 2>> asked;
    for (const xcb_window_t window : clients)
        asked.push_back(
            {properties.ask(window, u"_NET_WM_STRUT_PARTIAL"_s), properties.ask(window, u"_NET_WM_STRUT"_s)});
    const auto areasCookie = properties.ask(root, u"_GTK_WORKAREAS_D%1"_s.arg(workspace)); // one for each monitor

    X11Reservations reservations;
    for (const auto& [partial, plain] : asked) {
        const auto values = properties.answer(partial);
        const auto plainValues = properties.answer(plain);
        if (size)
            addStruts(reservations.struts, values.empty() ? plainValues : values, {size->width, size->height});
    }
    reservations.workAreas = rectangles(properties.answer(areasCookie), 0, kMostValues);
    const auto whole = rectangles(properties.answer(areaCookie), workspace, 1);
    reservations.workAreas.insert(reservations.workAreas.end(), whole.begin(), whole.end());
    return reservations;
}

QRect freePart(const QRect& monitor, const X11Reservations& reservations)
{
    QRect left = monitor;
    const auto leave = [&](const QRect& rest) {
        if (2 * rest.width() >= monitor.width() && 2 * rest.height() >= monitor.height())
            left = rest;
    };
    for (const Strut& strut : reservations.struts)
        leave(rest(left, strut, monitor));
    for (const QRect& area : reservations.workAreas) {
        if (monitor.contains(area)) // that of several monitors says nothing about one of them
            leave(left & area);
    }
    return left;
}

} // namespace tallowfern
