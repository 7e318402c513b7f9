#include "platform/linux/x11/X11HotKeyCenter.h"

#include "platform/linux/x11/VirtualKeys.h"
#include "platform/linux/x11/X11KeyMap.h"
#include "platform/linux/x11/Xkb.h"

#include <QPointer>

#include <algorithm>

namespace tallowfern {

class X11HotKeyCenter::Registration final : public HotKeyRegistration {
public:
    Registration(X11HotKeyCenter* center, quint64 identity)
        : m_center(center)
        , m_identity(identity)
    {
    }
    ~Registration() override
    {
        if (m_center)
            m_center->release(m_identity);
    }

private:
    QPointer<X11HotKeyCenter> m_center;
    quint64 m_identity;
};

X11HotKeyCenter::X11HotKeyCenter(std::unique_ptr<X11Connection> connection)
    : m_connection(std::move(connection))
{
    xcb_connection_t* xcb = m_connection->xcb();
    m_connection->take(xcb_xkb_use_extension_reply(xcb, xcb_xkb_use_extension(xcb, 1, 0), nullptr));
    const quint32 flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    m_connection->take(xcb_xkb_per_client_flags_reply(
        xcb, xcb_xkb_per_client_flags(xcb, XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0), nullptr));
    const quint16 changes = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    const quint16 mapParts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    xcb_xkb_select_events(xcb, XCB_XKB_ID_USE_CORE_KBD, changes, 0, changes, mapParts, mapParts, nullptr);
    m_modifiers = readModifiers();
    connect(m_connection.get(), &X11Connection::eventReceived, this, &X11HotKeyCenter::handleEvent);
}

X11HotKeyCenter::~X11HotKeyCenter() = default;

std::unique_ptr<HotKeyRegistration> X11HotKeyCenter::grab(quint32 number, KeyChord chord)
{
    const auto code = evdevCode(chord.keyCode);
    if (!code)
        return nullptr;
    Grab grab{};
    grab.number = number;
    grab.chordModifiers = chord.modifiers;
    grab.keycode = static_cast<xcb_keycode_t>(*code + kX11KeycodeOffset);
    grab.modifiers = modifierMask(chord.modifiers);
    if (matching(grab.keycode, grab.modifiers) || !grabKey(grab)) // the server lets one client grab a key twice
        return nullptr;
    grab.held = true;
    grab.identity = ++m_lastIdentity;
    m_grabs.push_back(grab);
    return std::make_unique<Registration>(this, grab.identity);
}

bool X11HotKeyCenter::grabKey(const Grab& grab)
{
    std::vector<xcb_void_cookie_t> cookies;
    for (const quint16 locks : lockCombinations()) {
        cookies.push_back(xcb_grab_key_checked(m_connection->xcb(), false, m_connection->root(),
            static_cast<quint16>(grab.modifiers | locks), grab.keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    bool complete = m_connection->isAlive();
    for (const xcb_void_cookie_t cookie : cookies)
        complete = m_connection->errorOf(cookie) == 0 && complete;
    if (!complete)
        ungrabKey(grab); // what another program holds is not touched by this
    return complete;
}

void X11HotKeyCenter::ungrabKey(const Grab& grab)
{
    for (const quint16 locks : lockCombinations()) {
        xcb_ungrab_key(
            m_connection->xcb(), grab.keycode, m_connection->root(), static_cast<quint16>(grab.modifiers | locks));
    }
    m_connection->flush();
}

void X11HotKeyCenter::release(quint64 identity)
{
    const auto found = std::find_if(
        m_grabs.begin(), m_grabs.end(), [identity](const Grab& grab) { return grab.identity == identity; });
    if (found == m_grabs.end())
        return;
    if (found->held)
        ungrabKey(*found);
    m_grabs.erase(found);
}

const X11HotKeyCenter::Grab* X11HotKeyCenter::matching(xcb_keycode_t keycode, quint16 modifiers) const
{
    for (const Grab& grab : m_grabs) {
        if (grab.held && grab.keycode == keycode && grab.modifiers == modifiers)
            return &grab;
    }
    return nullptr;
}

void X11HotKeyCenter::handleEvent(const xcb_generic_event_t* event)
{
    const auto* xkb = xcb_get_extension_data(m_connection->xcb(), &xcb_xkb_id);
    const int type = x11EventType(event);
    if (type == XCB_KEY_PRESS) {
        handlePress(*x11Event<xcb_key_press_event_t>(event));
    } else if (type == XCB_KEY_RELEASE) {
        handleRelease(*x11Event<xcb_key_release_event_t>(event));
    } else if (xkb && xkb->present && type == xkb->first_event && !m_keyboardChanged) {
        m_keyboardChanged = true; // one change of layout comes as a burst of events
        QMetaObject::invokeMethod(this, &X11HotKeyCenter::followKeyboard, Qt::QueuedConnection);
    }
}

void X11HotKeyCenter::handlePress(const xcb_key_press_event_t& press)
{
    if (m_down.contains(press.detail))
        return; // a repeat
    const quint16 locks = XCB_MOD_MASK_LOCK | m_modifiers.numLock;
    const quint16 modifiers = press.state & 0xff & ~locks;
    const Grab* found = matching(press.detail, modifiers);
    if (!found) {
        // While one hot key is held its modifiers are down as well: Escape ends a recording that Alt+Space holds.
        quint16 held = 0;
        for (const Down& down : std::as_const(m_down))
            held |= down.modifiers;
        found = matching(press.detail, modifiers & ~held);
    }
    if (!found)
        return;
    m_down.insert(press.detail, {found->number, found->modifiers});
    if (onEvent)
        onEvent({found->number, true});
}

void X11HotKeyCenter::handleRelease(const xcb_key_release_event_t& release)
{
    const auto down = m_down.constFind(release.detail); // by key alone: the modifiers may have gone up before
    if (down == m_down.cend())
        return;
    const quint32 number = down->number;
    m_down.erase(down);
    if (onEvent)
        onEvent({number, false});
}

void X11HotKeyCenter::followKeyboard()
{
    m_keyboardChanged = false;
    const Modifiers now = readModifiers();
    if (now == m_modifiers)
        return; // keys are named by position, so only another place of a modifier matters
    for (const Grab& grab : m_grabs)
        ungrabKey(grab);
    m_modifiers = now;
    for (Grab& grab : m_grabs) {
        grab.modifiers = modifierMask(grab.chordModifiers);
        grab.held = grabKey(grab);
    }
}

X11HotKeyCenter::Modifiers X11HotKeyCenter::readModifiers()
{
    const X11KeyMap map(*m_connection);
    const auto orElse = [](quint16 bit, quint16 usual) { return bit ? bit : usual; };
    return {orElse(map.modifier(keysym::kNumLock), XCB_MOD_MASK_2), orElse(map.modifier(keysym::kAlt), XCB_MOD_MASK_1),
        orElse(map.modifier(keysym::kSuper), XCB_MOD_MASK_4)};
}

quint16 X11HotKeyCenter::modifierMask(quint32 chordModifiers) const
{
    quint16 mask = 0;
    mask |= chordModifiers & KeyChord::kShift ? XCB_MOD_MASK_SHIFT : 0;
    mask |= chordModifiers & KeyChord::kControl ? XCB_MOD_MASK_CONTROL : 0;
    mask |= chordModifiers & KeyChord::kOption ? m_modifiers.alt : 0;
    mask |= chordModifiers & KeyChord::kCommand ? m_modifiers.super : 0;
    return mask;
}

std::vector<quint16> X11HotKeyCenter::lockCombinations() const
{
    const quint16 caps = XCB_MOD_MASK_LOCK;
    return {0, caps, m_modifiers.numLock, static_cast<quint16>(caps | m_modifiers.numLock)};
}

} // namespace tallowfern
