#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <optional>
#include <vector>

namespace tallowfern {

/// The keyboard as it is mapped at the moment of making: keys by their symbols, modifiers by their keys.
class X11KeyMap {
public:
    explicit X11KeyMap(X11Connection& connection);

    /// The key that gives `keysym` without Shift or AltGr, in the first layout that has such a key.
    std::optional<xcb_keycode_t> keycode(quint32 keysym) const;
    /// The modifier bit that the key named by `keysym` sets, 0 if it sets none.
    quint16 modifier(quint32 keysym) const;

private:
    struct Entry {
        xcb_keycode_t keycode;
        int layout;
        quint32 keysym;
    };
    void readSymbols(X11Connection& connection);
    void readModifiers(X11Connection& connection);

    std::vector<Entry> m_plainSymbols; ///< level 1 of every layout
    std::vector<xcb_keycode_t> m_modifierKeys; ///< rows of eight modifiers
    int m_keysPerModifier = 0;
};

namespace keysym {
constexpr quint32 kNumLock = 0xff7f, kInsert = 0xff63, kShift = 0xffe1, kControl = 0xffe3;
constexpr quint32 kAlt = 0xffe9, kSuper = 0xffeb, kLatinC = 0x63, kLatinV = 0x76;
} // namespace keysym

} // namespace tallowfern
