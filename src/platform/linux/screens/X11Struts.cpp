#include "platform/linux/screens/X11Struts.h"

#include <algorithm>
#include <array>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kPartialLength = 12; // left, right, top, bottom, and from where to where each reaches
constexpr quint32 kLength = 4;

struct Root {
    int width;
    int height;
};

Root rootSize(X11Connection& connection)
{
    xcb_connection_t* xcb = connection.xcb();
    const auto geometry
        = connection.take(xcb_get_geometry_reply(xcb, xcb_get_geometry(xcb, connection.root()), nullptr));
    return geometry ? Root{geometry->width, geometry->height} : Root{0, 0};
}

std::vector<quint32> numbers(const xcb_get_property_reply_t* reply)
{
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const quint32*>(xcb_get_property_value(reply));
    return {first, first + reply->value_len};
}

/// The rectangles of one window's reservation. Where it does not say how far its strips reach, they reach all along.
void addStruts(std::vector<Strut>& struts, std::vector<quint32> values, const Root& root)
{
    const auto all = [](quint32 value) { return static_cast<int>(value); };
    if (values.size() < kLength)
        return;
    if (values.size() < kPartialLength) {
        values.resize(kLength);
        const auto right = static_cast<quint32>(root.width - 1);
        const auto bottom = static_cast<quint32>(root.height - 1);
        values.insert(values.end(), {0, bottom, 0, bottom, 0, right, 0, right});
    }
    const auto along = [&](std::size_t edge) {
        return std::array{all(values[4 + 2 * edge]), all(values[5 + 2 * edge])};
    };
    const auto [leftFrom, leftTo] = along(0);
    const auto [rightFrom, rightTo] = along(1);
    const auto [topFrom, topTo] = along(2);
    const auto [bottomFrom, bottomTo] = along(3);
    struts.emplace_back(0, leftFrom, all(values[0]), leftTo - leftFrom + 1);
    struts.emplace_back(root.width - all(values[1]), rightFrom, all(values[1]), rightTo - rightFrom + 1);
    struts.emplace_back(topFrom, 0, topTo - topFrom + 1, all(values[2]));
    struts.emplace_back(bottomFrom, root.height - all(values[3]), bottomTo - bottomFrom + 1, all(values[3]));
}

} // namespace

std::vector<Strut> readStruts(X11Connection& connection)
{
    xcb_connection_t* xcb = connection.xcb();
    const auto ask = [&](xcb_window_t window, const QString& property, quint32 most) {
        return xcb_get_property(xcb, false, window, connection.atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, most);
    };
    const auto answer = [&](xcb_get_property_cookie_t cookie) {
        return numbers(connection.take(xcb_get_property_reply(xcb, cookie, nullptr)).get());
    };
    constexpr quint32 kMostWindows = 4096;
    struct Asked {
        xcb_get_property_cookie_t partial;
        xcb_get_property_cookie_t plain;
    };
    std::vector<Asked> asked;
    for (const xcb_window_t window : answer(ask(connection.root(), u"_NET_CLIENT_LIST"_s, kMostWindows)))
        asked.push_back(
            {ask(window, u"_NET_WM_STRUT_PARTIAL"_s, kPartialLength), ask(window, u"_NET_WM_STRUT"_s, kLength)});
    const Root root = rootSize(connection);
    std::vector<Strut> struts;
    for (const auto& [partial, plain] : asked) {
        auto values = answer(partial);
        auto plainValues = answer(plain);
        addStruts(struts, values.empty() ? std::move(plainValues) : std::move(values), root);
    }
    std::erase_if(struts, [](const Strut& strut) { return strut.isEmpty(); });
    return struts;
}

QRect withoutStruts(const QRect& monitor, const std::vector<Strut>& struts)
{
    QRect left = monitor;
    for (const Strut& strut : struts) {
        const QRect taken = strut & monitor;
        if (taken.isEmpty())
            continue;
        QRect rest = left;
        if (taken.width() > taken.height()) { // along the top or the bottom
            if (taken.top() == monitor.top())
                rest.setTop(std::max(rest.top(), taken.bottom() + 1));
            else if (taken.bottom() == monitor.bottom())
                rest.setBottom(std::min(rest.bottom(), taken.top() - 1));
        } else if (taken.left() == monitor.left()) {
            rest.setLeft(std::max(rest.left(), taken.right() + 1));
        } else if (taken.right() == monitor.right()) {
            rest.setRight(std::min(rest.right(), taken.left() - 1));
        }
        if (2 * rest.width() >= monitor.width() && 2 * rest.height() >= monitor.height())
            left = rest;
    }
    return left;
}

} // namespace tallowfern
