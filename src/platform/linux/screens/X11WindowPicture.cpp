#include "platform/linux/screens/X11WindowPicture.h"

#include "platform/linux/x11/X11Connection.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <optional>
#include <poll.h>
#include <xcb/composite.h>
#include <xcb/damage.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kFirstPaintMilliseconds = 150; ///< a program that has not begun by then has nothing to paint
constexpr qint64 kPauseMilliseconds = 50; ///< after which it has painted all
constexpr qint64 kMostMilliseconds = 500; ///< films never pause

struct Disconnect {
    void operator()(xcb_connection_t* xcb) const { xcb_disconnect(xcb); }
};

template <class T>
X11Reply<T> owned(T* reply)
{
    return X11Reply<T>(reply);
}

/// One connection for one picture: its end undoes everything that was asked of the server.
class Camera {
public:
    Camera()
        : m_connection(xcb_connect(nullptr, &m_screen))
        , m_xcb(m_connection.get())
    {
    }
    bool isReady();
    bool isOnScreen(xcb_window_t window);
    bool redirect(xcb_window_t window);
    QImage picture(xcb_window_t window);

private:
    bool hasExtension(xcb_extension_t* extension);
    bool succeeds(xcb_void_cookie_t checkedRequest) { return !owned(xcb_request_check(m_xcb, checkedRequest)); }
    xcb_atom_t atom(const QByteArray& name);
    bool hasCompositor();
    void awaitPaint(xcb_damage_damage_t damage);
    bool sees(qint64 milliseconds);
    bool hasPainted();
    QMargins frame(xcb_window_t window);

    int m_screen = 0;
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    xcb_connection_t* m_xcb;
};

bool Camera::hasExtension(xcb_extension_t* extension)
{
    const auto* data = xcb_get_extension_data(m_xcb, extension);
    return data && data->present;
}

bool Camera::isReady()
{
    if (xcb_connection_has_error(m_xcb) || !hasExtension(&xcb_composite_id) || !hasExtension(&xcb_damage_id))
        return false;
    // Servers refuse clients that have not said which version they speak.
    const auto composite = xcb_composite_query_version(m_xcb, 0, 4);
    const auto damage = xcb_damage_query_version(m_xcb, 1, 1);
    return owned(xcb_composite_query_version_reply(m_xcb, composite, nullptr))
        && owned(xcb_damage_query_version_reply(m_xcb, damage, nullptr));
}

bool Camera::isOnScreen(xcb_window_t window)
{
    const auto cookie = xcb_get_window_attributes(m_xcb, window);
    const auto attributes = owned(xcb_get_window_attributes_reply(m_xcb, cookie, nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE
        && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

xcb_atom_t Camera::atom(const QByteArray& name)
{
    const auto cookie = xcb_intern_atom(m_xcb, false, quint16(name.size()), name.constData());
    const auto reply = owned(xcb_intern_atom_reply(m_xcb, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

bool Camera::hasCompositor()
{
    const auto cookie = xcb_get_selection_owner(m_xcb, atom("_NET_WM_CM_S" + QByteArray::number(m_screen)));
    const auto reply = owned(xcb_get_selection_owner_reply(m_xcb, cookie, nullptr));
    return reply && reply->owner;
}

/// From here on the server keeps all pixels of the window, also covered ones. Where a compositor runs they are there
/// already; else the program is asked to paint them.
bool Camera::redirect(xcb_window_t window)
{
    if (hasCompositor())
        return succeeds(xcb_composite_redirect_window_checked(m_xcb, window, XCB_COMPOSITE_REDIRECT_AUTOMATIC));
    const xcb_damage_damage_t damage = xcb_generate_id(m_xcb);
    xcb_grab_server(m_xcb); // what is painted next is the program's answer
    const bool redirected
        = succeeds(xcb_composite_redirect_window_checked(m_xcb, window, XCB_COMPOSITE_REDIRECT_AUTOMATIC));
    xcb_damage_create(m_xcb, damage, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    const bool watched = succeeds(xcb_damage_subtract_checked(m_xcb, damage, XCB_NONE, XCB_NONE));
    hasPainted(); // a new watch reports the window as it is
    xcb_ungrab_server(m_xcb);
    xcb_flush(m_xcb);
    if (redirected && watched)
        awaitPaint(damage);
    return redirected;
}

void Camera::awaitPaint(xcb_damage_damage_t damage)
{
    const QDeadlineTimer deadline(kMostMilliseconds);
    qint64 patience = kFirstPaintMilliseconds;
    while (sees(std::min(patience, deadline.remainingTime()))) {
        xcb_damage_subtract(m_xcb, damage, XCB_NONE, XCB_NONE);
        xcb_flush(m_xcb);
        patience = kPauseMilliseconds;
    }
}

/// Whether the program paints something within this time.
bool Camera::sees(qint64 milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!hasPainted()) {
        pollfd socket = {xcb_get_file_descriptor(m_xcb), POLLIN, 0};
        if (xcb_connection_has_error(m_xcb) || ::poll(&socket, 1, int(deadline.remainingTime())) == 0)
            return false;
    }
    return true;
}

bool Camera::hasPainted()
{
    const int kind = xcb_get_extension_data(m_xcb, &xcb_damage_id)->first_event + XCB_DAMAGE_NOTIFY;
    bool painted = false;
    while (const auto event = owned(xcb_poll_for_event(m_xcb)))
        painted = painted || x11EventType(event.get()) == kind;
    return painted;
}

/// Shadows that a program draws into its own window.
QMargins Camera::frame(xcb_window_t window)
{
    const auto cookie = xcb_get_property(m_xcb, false, window, atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL, 0, 4);
    const auto reply = owned(xcb_get_property_reply(m_xcb, cookie, nullptr));
    if (!reply || reply->format != 32 || reply->value_len != 4)
        return {};
    const auto* sides = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
    const auto side = [sides](int index) { return int(std::min(sides[index], 0xffffU)); };
    return {side(0), side(2), side(1), side(3)};
}

std::optional<QImage::Format> formatOf(int depth)
{
    switch (depth) {
    case 16:
        return QImage::Format_RGB16;
    case 24:
        return QImage::Format_RGB32;
    case 30:
        return QImage::Format_RGB30;
    case 32:
        return QImage::Format_ARGB32_Premultiplied;
    default:
        return std::nullopt;
    }
}

QImage Camera::picture(xcb_window_t window)
{
    const xcb_pixmap_t pixmap = xcb_generate_id(m_xcb);
    if (!succeeds(xcb_composite_name_window_pixmap_checked(m_xcb, window, pixmap)))
        return {};
    const auto outer = owned(xcb_get_geometry_reply(m_xcb, xcb_get_geometry(m_xcb, pixmap), nullptr));
    const auto inner = owned(xcb_get_geometry_reply(m_xcb, xcb_get_geometry(m_xcb, window), nullptr));
    if (!outer || !inner)
        return {};
    const int border = inner->border_width;
    const QRect whole = QRect(0, 0, outer->width, outer->height).adjusted(border, border, -border, -border);
    const QRect framed = whole.marginsRemoved(frame(window));
    const QRect part = framed.isValid() ? framed : whole; // programs may say anything
    const auto cookie = xcb_get_image(m_xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, qint16(part.x()), qint16(part.y()),
        quint16(part.width()), quint16(part.height()), ~0U);
    const auto image = owned(xcb_get_image_reply(m_xcb, cookie, nullptr));
    const auto format = image ? formatOf(image->depth) : std::nullopt;
    const qsizetype lineBytes = image ? qsizetype(xcb_get_image_data_length(image.get())) / part.height() : 0;
    if (!format || lineBytes * 8 < qsizetype(part.width()) * QImage::toPixelFormat(*format).bitsPerPixel())
        return {};
    return QImage(xcb_get_image_data(image.get()), part.width(), part.height(), lineBytes, *format).copy();
}

} // namespace

QImage x11WindowPicture(xcb_window_t window)
{
    Camera camera;
    const bool isKept = camera.isReady() && camera.isOnScreen(window) && camera.redirect(window);
    return isKept ? camera.picture(window) : QImage();
}

} // namespace tallowfern
