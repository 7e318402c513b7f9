#include "platform/linux/x11/X11Connection.h"

#include <QPointer>

namespace tallowfern {

std::unique_ptr<X11Connection> X11Connection::open()
{
    int screen = 0;
    xcb_connection_t* xcb = xcb_connect(nullptr, &screen);
    if (xcb_connection_has_error(xcb)) {
        xcb_disconnect(xcb);
        return nullptr;
    }
    return std::unique_ptr<X11Connection>(new X11Connection(xcb, screen));
}

X11Connection::X11Connection(xcb_connection_t* xcb, int screen)
    : m_xcb(xcb)
    , m_notifier(xcb_get_file_descriptor(xcb), QSocketNotifier::Read)
{
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(xcb));
    for (; screen > 0 && screens.rem > 1; --screen)
        xcb_screen_next(&screens);
    m_root = screens.data->root;
    connect(&m_notifier, &QSocketNotifier::activated, this, &X11Connection::dispatch);
}

bool X11Connection::isReachable()
{
    xcb_connection_t* xcb = xcb_connect(nullptr, nullptr);
    const bool reached = xcb_connection_has_error(xcb) == 0;
    xcb_disconnect(xcb);
    return reached;
}

X11Connection::~X11Connection()
{
    xcb_disconnect(m_xcb);
}

bool X11Connection::hasExtension(xcb_extension_t* extension) const
{
    const auto* data = xcb_get_extension_data(m_xcb, extension);
    return data && data->present;
}

xcb_atom_t X11Connection::atom(const QString& name)
{
    const auto known = m_atoms.constFind(name);
    if (known != m_atoms.cend())
        return *known;
    const QByteArray bytes = name.toLatin1();
    const auto cookie = xcb_intern_atom(m_xcb, false, static_cast<quint16>(bytes.size()), bytes.constData());
    const auto reply = take(xcb_intern_atom_reply(m_xcb, cookie, nullptr));
    if (!reply)
        return XCB_ATOM_NONE;
    m_atoms.insert(name, reply->atom);
    m_atomNames.insert(reply->atom, name);
    return reply->atom;
}

QStringList X11Connection::atomNames(const QList<xcb_atom_t>& atoms)
{
    QHash<xcb_atom_t, xcb_get_atom_name_cookie_t> cookies; // all asked at once: one round trip
    for (const xcb_atom_t atom : atoms) {
        if (!m_atomNames.contains(atom) && !cookies.contains(atom))
            cookies.insert(atom, xcb_get_atom_name(m_xcb, atom));
    }
    for (auto it = cookies.cbegin(); it != cookies.cend(); ++it) {
        const auto reply = take(xcb_get_atom_name_reply(m_xcb, it.value(), nullptr));
        if (!reply)
            continue;
        const QString name
            = QString::fromLatin1(xcb_get_atom_name_name(reply.get()), xcb_get_atom_name_name_length(reply.get()));
        m_atomNames.insert(it.key(), name);
        m_atoms.insert(name, it.key());
    }
    QStringList names;
    for (const xcb_atom_t atom : atoms) {
        if (m_atomNames.contains(atom))
            names.append(m_atomNames.value(atom));
    }
    return names;
}

xcb_window_t X11Connection::createHiddenWindow(quint32 eventMask)
{
    const xcb_window_t window = xcb_generate_id(m_xcb);
    const quint32 values[] = {1, eventMask}; // override-redirect: no business of the window manager's
    xcb_create_window(m_xcb, XCB_COPY_FROM_PARENT, window, m_root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
        XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    return window;
}

void X11Connection::selectEvents(xcb_window_t window, quint32 eventMask)
{
    xcb_change_window_attributes(m_xcb, window, XCB_CW_EVENT_MASK, &eventMask);
}

int X11Connection::errorOf(xcb_void_cookie_t checkedRequest)
{
    const auto error = take(xcb_request_check(m_xcb, checkedRequest));
    return error ? error->error_code : 0;
}

void X11Connection::settle()
{
    take(xcb_get_input_focus_reply(m_xcb, xcb_get_input_focus(m_xcb), nullptr));
    dispatch();
}

void X11Connection::dispatch()
{
    const QPointer<X11Connection> self(this);
    while (X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(m_xcb)}) {
        if (event->response_type != 0) // 0: the error of a request that nobody waits for
            Q_EMIT eventReceived(event.get());
        if (!self)
            return;
    }
    if (isAlive()) {
        flush();
    } else if (m_notifier.isEnabled()) {
        m_notifier.setEnabled(false);
        Q_EMIT lost();
    }
}

void X11Connection::dispatchSoon()
{
    if (m_dispatchScheduled)
        return;
    m_dispatchScheduled = true;
    const auto run = [this] {
        m_dispatchScheduled = false;
        dispatch();
    };
    QMetaObject::invokeMethod(this, run, Qt::QueuedConnection);
}

QByteArray x11PropertyBytes(const xcb_get_property_reply_t* reply)
{
    if (!reply)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply)), xcb_get_property_value_length(reply)};
}

} // namespace tallowfern
