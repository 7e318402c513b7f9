#include "platform/linux/x11/X11KeyPoster.h"

#include "platform/linux/x11/X11KeyMap.h"
#include "platform/linux/x11/X11Pasteboard.h"
#include "platform/linux/x11/X11Workspace.h"
#include "platform/linux/x11/Xkb.h"

#include <xcb/xtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

X11KeyPoster::X11KeyPoster(X11Connection& connection, X11Workspace& workspace, X11Pasteboard& pasteboard)
    : m_connection(connection)
    , m_workspace(workspace)
    , m_pasteboard(pasteboard)
    , m_heldKeys(connection)
{
    xcb_connection_t* xcb = m_connection.xcb();
    m_connection.take(xcb_xkb_use_extension_reply(xcb, xcb_xkb_use_extension(xcb, 1, 0), nullptr));
}

X11KeyPoster::~X11KeyPoster()
{
    m_stop.request_stop();
}

bool X11KeyPoster::canPost() const
{
    return m_connection.isAlive() && m_connection.hasExtension(&xcb_test_id);
}

QCoro::Task<bool> X11KeyPoster::post(Edit edit, RunningApplication target)
{
    const std::stop_token stop = m_stop.get_token();
    // While the hot key is held, every key goes to whoever grabbed it.
    Completion<bool> released = m_heldKeys.released();
    co_await released;
    if (stop.stop_requested() || !canPost())
        co_return false;
    for (const EditChord& chord : editChordsFor(edit, target.applicationIdentifier)) {
        const std::vector<xcb_keycode_t> keys = keysOf(chord);
        if (keys.empty())
            continue; // a keyboard without Latin letters
        if (chord.takesPrimary)
            m_pasteboard.offerAsPrimary();
        co_return type(edit, target, keys);
    }
    co_return false;
}

/// In the order of pressing; empty when a key is missing.
std::vector<xcb_keycode_t> X11KeyPoster::keysOf(const EditChord& chord)
{
    const X11KeyMap map(m_connection);
    std::vector<xcb_keycode_t> keys;
    for (const quint32 symbol : chord.keySymbols) {
        const auto key = map.keycode(symbol);
        if (!key)
            return {};
        keys.push_back(*key);
    }
    return keys;
}

bool X11KeyPoster::type(Edit edit, const RunningApplication& target, const std::vector<xcb_keycode_t>& keys)
{
    xcb_connection_t* xcb = m_connection.xcb();
    m_connection.settle(); // the number of a window that is gone may denote another one by now
    xcb_grab_server(xcb); // nobody takes the focus or the clipboard between the look and the keys
    const bool ready = m_workspace.isInFrontNow(target) && (edit == Edit::Copy || ownsClipboard()) && releaseHeldKeys();
    if (ready) {
        for (auto key = keys.begin(); key != keys.end(); ++key)
            fakeKey(XCB_KEY_PRESS, *key);
        for (auto key = keys.rbegin(); key != keys.rend(); ++key)
            fakeKey(XCB_KEY_RELEASE, *key);
    }
    xcb_ungrab_server(xcb);
    m_connection.settle();
    return ready && m_connection.isAlive();
}

bool X11KeyPoster::releaseHeldKeys()
{
    for (const xcb_keycode_t key : m_heldKeys.now())
        fakeKey(XCB_KEY_RELEASE, key);
    return m_heldKeys.now().empty(); // a key that stays down would make another chord of ours
}

bool X11KeyPoster::ownsClipboard()
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto cookie = xcb_get_selection_owner(xcb, m_connection.atom(u"CLIPBOARD"_s));
    const auto owner = m_connection.take(xcb_get_selection_owner_reply(xcb, cookie, nullptr));
    return owner && owner->owner == m_pasteboard.ownerWindow();
}

void X11KeyPoster::fakeKey(int eventType, xcb_keycode_t key)
{
    xcb_test_fake_input(
        m_connection.xcb(), static_cast<quint8>(eventType), key, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
}

} // namespace tallowfern
