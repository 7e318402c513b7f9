#pragma once

#include "platform/HotKeyCenter.h"
#include "platform/linux/x11/X11Connection.h"

#include <QHash>

#include <vector>

namespace tallowfern {

/// Passive grabs on a connection that serves nothing else: Qt's own reports every repeat as a release.
class X11HotKeyCenter final : public QObject, public HotKeyCenter {
    Q_OBJECT
public:
    explicit X11HotKeyCenter(std::unique_ptr<X11Connection> connection);
    ~X11HotKeyCenter() override;

    [[nodiscard]] std::unique_ptr<HotKeyRegistration> grab(quint32 number, KeyChord chord) override;

private:
    class Registration;
    /// Which bits these keys set on the keyboard at hand.
    struct Modifiers {
        quint16 numLock = 0;
        quint16 alt = 0;
        quint16 super = 0;

        bool operator==(const Modifiers&) const = default;
    };
    struct Grab {
        quint64 identity; ///< ties the registration to its grab; numbers may repeat
        quint32 number;
        quint32 chordModifiers;
        xcb_keycode_t keycode;
        quint16 modifiers;
        bool held; ///< false after a change of the keyboard let another program's grab in
    };

    struct Down {
        quint32 number;
        quint16 modifiers;
    };

    void handleEvent(const xcb_generic_event_t* event);
    void handlePress(const xcb_key_press_event_t& press);
    void handleRelease(const xcb_key_release_event_t& release);
    const Grab* matching(xcb_keycode_t keycode, quint16 modifiers) const;
    bool grabKey(const Grab& grab);
    void ungrabKey(const Grab& grab);
    void release(quint64 identity);
    Modifiers readModifiers();
    void followKeyboard();
    quint16 modifierMask(quint32 chordModifiers) const;
    std::vector<quint16> lockCombinations() const;

    std::unique_ptr<X11Connection> m_connection;
    std::vector<Grab> m_grabs;
    QHash<xcb_keycode_t, Down> m_down; ///< hot keys that are held now
    quint64 m_lastIdentity = 0;
    Modifiers m_modifiers;
    bool m_keyboardChanged = false;
};

} // namespace tallowfern
