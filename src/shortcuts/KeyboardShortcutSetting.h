#pragma once

#include "foundation/Json.h"
#include "platform/HotKeyCenter.h"
#include "platform/PreferenceStore.h"

#include <QHashFunctions>
#include <QList>
#include <QSet>
#include <QString>

#include <tuple>

namespace tallowfern {

/// A key with its modifiers, as the user chose and the preferences keep it. A value.
struct KeyboardShortcutSetting {
    quint32 keyCode = 0; ///< virtual key code, by position
    QString keyLabel; ///< what the key is called on screen
    bool command = false;
    bool option = false;
    bool control = false;
    bool shift = false;

    static constexpr auto jsonFields()
    {
        using S = KeyboardShortcutSetting;
        return std::tuple{json::required("keyCode", &S::keyCode), json::required("keyLabel", &S::keyLabel),
            json::required("command", &S::command), json::required("option", &S::option),
            json::required("control", &S::control), json::required("shift", &S::shift)};
    }

    /// For the user: the modifiers, always in the same order, then the key.
    QString displayName() const;
    KeyChord chord() const;

    /// The stored value; `fallback` where there is none, or none that can be read.
    static KeyboardShortcutSetting load(
        const PreferenceStore& store, const QString& key, const KeyboardShortcutSetting& fallback);
    void save(PreferenceStore& store, const QString& key) const;

    /// The values that occur more than once.
    static QSet<KeyboardShortcutSetting> conflicts(const QList<KeyboardShortcutSetting>& shortcuts);

    bool operator==(const KeyboardShortcutSetting&) const = default;
    friend size_t qHash(const KeyboardShortcutSetting& value, size_t seed = 0)
    {
        return qHashMulti(seed, value.keyCode, value.keyLabel, value.command, value.option, value.control, value.shift);
    }
};

/// What the global shortcuts are until the user chooses others.
namespace DefaultShortcuts {
KeyboardShortcutSetting toggle();
KeyboardShortcutSetting pushToTalk();
KeyboardShortcutSetting agent();
KeyboardShortcutSetting agentScreenshot();
KeyboardShortcutSetting cancel();
} // namespace DefaultShortcuts

} // namespace tallowfern
