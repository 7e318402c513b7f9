#pragma once

#include "agent/models/AgentModelStore.h"
#include "core/Preferences.h"
#include "platform/HotKeyCenter.h"
#include "shortcuts/HotKeyManager.h"

#include <QObject>

#include <functional>

namespace tallowfern {

/// The defaults, each with Super added where another program (often the window manager) holds the plain one. A
/// replacement is kept in the store, so that the user's fingers find it there at the next start.
ShortcutDefaults chooseShortcutDefaults(PreferenceStore& store, HotKeyCenter& center);

/// Keeps the registered hot keys in step with the settings. Main thread.
class ShortcutBindings : public QObject {
    Q_OBJECT
public:
    /// `cancelIsNeeded` tells whether an activity is running that the cancel shortcut ends.
    ShortcutBindings(const Preferences& preferences, const AgentModelStore& models, HotKeyManager& hotKeys,
        std::function<bool()> cancelIsNeeded);

    void refreshHotKeys();

    /// While suspended no hot key is registered, so that a key pressed to be recorded fires nothing.
    bool hotKeysSuspended() const { return m_hotKeysSuspended; }
    void setHotKeysSuspended(bool suspended);

private:
    const Preferences& m_preferences;
    const AgentModelStore& m_models;
    HotKeyManager& m_hotKeys;
    std::function<bool()> m_cancelIsNeeded;
    bool m_hotKeysSuspended = false;
};

} // namespace tallowfern
