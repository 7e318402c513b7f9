#include "platform/linux/x11/X11KeyMap.h"

#include "platform/linux/x11/Xkb.h"

#include <algorithm>

namespace tallowfern {

X11KeyMap::X11KeyMap(X11Connection& connection)
{
    readSymbols(connection);
    readModifiers(connection);
}

void X11KeyMap::readSymbols(X11Connection& connection)
{
    const auto cookie = xcb_xkb_get_map(connection.xcb(), XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_MAP_PART_KEY_SYMS, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0); // all symbols, no ranges of other parts
    const auto reply = connection.take(xcb_xkb_get_map_reply(connection.xcb(), cookie, nullptr));
    if (!reply)
        return;
    xcb_xkb_get_map_map_t map;
    xcb_xkb_get_map_map_unpack(xcb_xkb_get_map_map(reply.get()), reply->nTypes, reply->nKeySyms, reply->nKeyActions,
        reply->totalActions, reply->totalKeyBehaviors, reply->virtualMods, reply->totalKeyExplicit,
        reply->totalModMapKeys, reply->totalVModMapKeys, reply->present, &map);
    auto keys = xcb_xkb_get_map_map_syms_rtrn_iterator(reply.get(), &map);
    for (int keycode = reply->firstKeySym; keys.rem; xcb_xkb_key_sym_map_next(&keys), ++keycode) {
        const xcb_keysym_t* symbols = xcb_xkb_key_sym_map_syms(keys.data);
        const int layouts = keys.data->groupInfo & 0x0f;
        for (int layout = 0; layout < layouts; ++layout, symbols += keys.data->width)
            m_plainSymbols.push_back({static_cast<xcb_keycode_t>(keycode), layout, *symbols});
    }
}

void X11KeyMap::readModifiers(X11Connection& connection)
{
    const auto cookie = xcb_get_modifier_mapping(connection.xcb());
    const auto reply = connection.take(xcb_get_modifier_mapping_reply(connection.xcb(), cookie, nullptr));
    if (!reply)
        return;
    const xcb_keycode_t* keys = xcb_get_modifier_mapping_keycodes(reply.get());
    m_modifierKeys.assign(keys, keys + xcb_get_modifier_mapping_keycodes_length(reply.get()));
    m_keysPerModifier = reply->keycodes_per_modifier;
}

std::optional<xcb_keycode_t> X11KeyMap::keycode(quint32 keysym) const
{
    const Entry* best = nullptr;
    for (const Entry& entry : m_plainSymbols) {
        if (entry.keysym == keysym && (!best || entry.layout < best->layout))
            best = &entry;
    }
    return best ? std::optional(best->keycode) : std::nullopt;
}

quint16 X11KeyMap::modifier(quint32 keysym) const
{
    for (const Entry& entry : m_plainSymbols) {
        if (entry.keysym != keysym)
            continue;
        const auto found = std::find(m_modifierKeys.begin(), m_modifierKeys.end(), entry.keycode);
        if (found != m_modifierKeys.end())
            return static_cast<quint16>(1 << (found - m_modifierKeys.begin()) / m_keysPerModifier);
    }
    return 0;
}

} // namespace tallowfern
