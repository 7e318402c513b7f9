#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>

namespace tallowfern {

/// A combination of keys.
struct KeyChord {
    // The bits of `modifiers`, added together.
    static constexpr quint32 kCommand = 256; ///< Super on Linux
    static constexpr quint32 kShift = 512;
    static constexpr quint32 kOption = 2048; ///< Alt on Linux
    static constexpr quint32 kControl = 4096;

    quint32 keyCode = 0; ///< virtual key code, by position: 49 is Space, 53 is Escape
    quint32 modifiers = 0;

    bool operator==(const KeyChord&) const = default;
};

/// Holds a combination for us until it is destroyed.
class HotKeyRegistration {
public:
    HotKeyRegistration() = default;
    HotKeyRegistration(const HotKeyRegistration&) = delete;
    HotKeyRegistration& operator=(const HotKeyRegistration&) = delete;
    virtual ~HotKeyRegistration() = default;
};

/// System-wide hot keys with press and release. Main thread only; events arrive in their order on the main loop, one
/// press and one release for each time the keys go down, whatever the keyboard's repeat does.
class HotKeyCenter {
public:
    struct Event {
        quint32 number = 0;
        bool pressed = false;
    };

    virtual ~HotKeyCenter() = default;

    /// Absent when another program, or an earlier registration of ours, holds the combination, or when this desktop
    /// has no such key. `number` comes back in the events.
    [[nodiscard]] virtual std::unique_ptr<HotKeyRegistration> grab(quint32 number, KeyChord chord) = 0;

    /// Set once, by whoever owns the registrations.
    std::function<void(Event)> onEvent;
};

} // namespace tallowfern
