#include "platform/linux/x11/X11HeldKeys.h"

#include <xcb/xinput.h>

namespace tallowfern {

X11HeldKeys::X11HeldKeys(X11Connection& connection)
    : m_connection(connection)
{
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(1000);
    connect(&m_deadline, &QTimer::timeout, this, &X11HeldKeys::finish);
    connect(&m_connection, &X11Connection::eventReceived, this, &X11HeldKeys::handleEvent);
    if (m_connection.hasExtension(&xcb_input_id)) {
        xcb_connection_t* xcb = m_connection.xcb();
        m_connection.take(xcb_input_xi_query_version_reply(xcb, xcb_input_xi_query_version(xcb, 2, 2), nullptr));
    }
}

X11HeldKeys::~X11HeldKeys()
{
    m_released.complete(false);
}

Completion<bool> X11HeldKeys::released()
{
    if (m_isWaiting)
        return m_released;
    m_released = {};
    listen(true); // before looking, or a release in between is missed
    m_isWaiting = true;
    Completion<bool> released = m_released;
    if (now().empty())
        finish();
    else
        m_deadline.start();
    return released;
}

std::vector<xcb_keycode_t> X11HeldKeys::now()
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto reply = m_connection.take(xcb_query_keymap_reply(xcb, xcb_query_keymap(xcb), nullptr));
    std::vector<xcb_keycode_t> down;
    for (int key = 0; reply && key < 256; ++key) {
        if (reply->keys[key / 8] & (1 << key % 8))
            down.push_back(static_cast<xcb_keycode_t>(key));
    }
    return down;
}

/// Raw events tell of every key, also while another program or our own hot key has grabbed the keyboard.
void X11HeldKeys::listen(bool on)
{
    if (!m_connection.hasExtension(&xcb_input_id))
        return; // the deadline serves alone
    struct {
        xcb_input_event_mask_t head;
        quint32 events;
    } mask = {{XCB_INPUT_DEVICE_ALL_MASTER, 1}, on ? quint32(XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE) : 0};
    xcb_input_xi_select_events(m_connection.xcb(), m_connection.root(), 1, &mask.head);
    m_connection.flush();
}

void X11HeldKeys::handleEvent(const xcb_generic_event_t* event)
{
    if (!m_isWaiting || x11EventType(event) != XCB_GE_GENERIC)
        return;
    const auto* generic = x11Event<xcb_ge_generic_event_t>(event);
    const auto* input = xcb_get_extension_data(m_connection.xcb(), &xcb_input_id);
    if (generic->extension == input->major_opcode && generic->event_type == XCB_INPUT_RAW_KEY_RELEASE && now().empty())
        finish();
}

void X11HeldKeys::finish()
{
    m_deadline.stop();
    m_isWaiting = false;
    listen(false);
    Completion<bool> released = m_released;
    released.complete(true);
}

} // namespace tallowfern
