#pragma once

#include "foundation/Clock.h"
#include "foundation/Lifetime.h"
#include "platform/HotKeyCenter.h"
#include "shortcuts/KeyboardShortcutSetting.h"

#include <QCoroTask>
#include <QList>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tallowfern {

/// The shortcuts in force; an absent one is not registered. Where two are equal, the one told first here keeps the
/// keys.
struct HotKeyShortcuts {
    KeyboardShortcutSetting toggle;
    KeyboardShortcutSetting pushToTalk;
    std::optional<KeyboardShortcutSetting> agent;
    std::optional<KeyboardShortcutSetting> agentScreenshot;
    QList<KeyboardShortcutSetting> agentProfiles;
    KeyboardShortcutSetting cancel = DefaultShortcuts::cancel();
};

/// A shortcut that should be registered, and whether it is: another program may hold the keys.
struct HotKeyState {
    quint32 number = 0;
    KeyboardShortcutSetting shortcut;
    bool active = false;

    bool operator==(const HotKeyState&) const = default;
};

/// Registers the shortcuts system-wide and says which was pressed; what a key does is decided by others. Main thread.
class HotKeyManager : public QObject {
    Q_OBJECT
public:
    HotKeyManager(HotKeyCenter& center, Clock& clock);
    ~HotKeyManager() override;

    // Set once by the owner. They are called from the main loop, never inside the desktop's event, in the order of
    // the keys. An empty one does nothing.
    std::function<void()> onToggle;
    std::function<void()> onPushToTalkBegan;
    std::function<void()> onPushToTalkEnded; ///< also when the held shortcut is given up: nobody would see its release
    std::function<void()> onAgentToggle;
    std::function<void()> onAgentScreenshotToggle;
    std::function<void(int)> onAgentProfileToggle; ///< takes the index of the profile
    std::function<void()> onCancel;

    /// Replaces all registrations; cancel is off afterwards. A shortcut that stays the same stays held throughout, so
    /// that the release of a key that is down now is still seen.
    void registerShortcuts(const HotKeyShortcuts& shortcuts);
    /// Gives all keys back.
    void unregister();
    /// Cancel holds its key, usually one that every application needs, only while it is enabled.
    void enableCancel();
    void disableCancel();

    /// The shortcuts that should work now, in the order of registration.
    QList<HotKeyState> states() const;

Q_SIGNALS:
    void statesChanged();

private:
    struct HotKey {
        quint32 number;
        KeyboardShortcutSetting shortcut;
        std::unique_ptr<HotKeyRegistration> registration; ///< null: the desktop refused
    };

    void takeOver(std::vector<HotKey>& wanted);
    void received(HotKeyCenter::Event event);
    void endPushToTalk();
    QCoro::Task<> dispatchLater(HotKeyCenter::Event event);
    void dispatch(HotKeyCenter::Event event) const;

    HotKeyCenter& m_center;
    Clock& m_clock;
    std::vector<HotKey> m_hotKeys;
    std::optional<HotKey> m_cancel;
    KeyboardShortcutSetting m_cancelShortcut = DefaultShortcuts::cancel();
    bool m_pushToTalkDown = false;
    Lifetime m_lifetime;
};

} // namespace tallowfern
