#include "shortcuts/HotKeyManager.h"

#include <algorithm>

namespace tallowfern {

namespace {
constexpr quint32 kToggle = 1;
constexpr quint32 kPushToTalk = 2;
constexpr quint32 kCancel = 3;
constexpr quint32 kAgent = 4;
constexpr quint32 kAgentScreenshot = 5;
constexpr quint32 kFirstProfile = 100;
} // namespace

HotKeyManager::HotKeyManager(HotKeyCenter& center, Clock& clock)
    : m_center(center)
    , m_clock(clock)
{
}

HotKeyManager::~HotKeyManager()
{
    m_center.onEvent = nullptr;
}

void HotKeyManager::registerShortcuts(const HotKeyShortcuts& shortcuts)
{
    m_cancel.reset();
    m_cancelShortcut = shortcuts.cancel;
    m_center.onEvent = [this](HotKeyCenter::Event event) { received(event); };

    std::vector<HotKey> wanted;
    const auto want = [&wanted](quint32 number, const KeyboardShortcutSetting& shortcut) {
        wanted.push_back({number, shortcut, nullptr});
    };
    want(kToggle, shortcuts.toggle);
    want(kPushToTalk, shortcuts.pushToTalk);
    if (shortcuts.agent)
        want(kAgent, *shortcuts.agent);
    if (shortcuts.agentScreenshot)
        want(kAgentScreenshot, *shortcuts.agentScreenshot);
    for (qsizetype i = 0; i < shortcuts.agentProfiles.size(); ++i)
        want(kFirstProfile + static_cast<quint32>(i), shortcuts.agentProfiles[i]);

    takeOver(wanted);
    m_hotKeys = std::move(wanted); // gives back what is not wanted any more, before others may ask for the same keys
    for (HotKey& hotKey : m_hotKeys) {
        if (!hotKey.registration)
            hotKey.registration = m_center.grab(hotKey.number, hotKey.shortcut.chord());
    }
    Q_EMIT statesChanged();
}

void HotKeyManager::takeOver(std::vector<HotKey>& wanted)
{
    bool pushToTalkStays = false;
    for (auto hotKey = wanted.begin(); hotKey != wanted.end(); ++hotKey) {
        const KeyChord chord = hotKey->shortcut.chord();
        const auto hasChord = [chord](const HotKey& other) { return other.shortcut.chord() == chord; };
        if (std::any_of(wanted.begin(), hotKey, hasChord))
            continue; // the keys are an earlier one's now
        const auto held = std::find_if(m_hotKeys.begin(), m_hotKeys.end(),
            [&](const HotKey& other) { return other.number == hotKey->number && hasChord(other); });
        if (held == m_hotKeys.end() || !held->registration)
            continue;
        hotKey->registration = std::move(held->registration);
        pushToTalkStays = pushToTalkStays || hotKey->number == kPushToTalk;
    }
    if (!pushToTalkStays)
        endPushToTalk();
}

void HotKeyManager::unregister()
{
    endPushToTalk();
    m_hotKeys.clear();
    m_cancel.reset();
    m_center.onEvent = nullptr;
    Q_EMIT statesChanged();
}

void HotKeyManager::enableCancel()
{
    m_cancel.reset();
    m_cancel = HotKey{kCancel, m_cancelShortcut, m_center.grab(kCancel, m_cancelShortcut.chord())};
    Q_EMIT statesChanged();
}

void HotKeyManager::disableCancel()
{
    if (!m_cancel)
        return;
    m_cancel.reset();
    Q_EMIT statesChanged();
}

QList<HotKeyState> HotKeyManager::states() const
{
    QList<HotKeyState> list;
    for (const HotKey& hotKey : m_hotKeys)
        list.append({hotKey.number, hotKey.shortcut, hotKey.registration != nullptr});
    if (m_cancel)
        list.append({m_cancel->number, m_cancel->shortcut, m_cancel->registration != nullptr});
    return list;
}

void HotKeyManager::received(HotKeyCenter::Event event)
{
    if (event.number == kPushToTalk)
        m_pushToTalkDown = event.pressed;
    dispatchLater(event);
}

void HotKeyManager::endPushToTalk()
{
    if (m_pushToTalkDown)
        received({kPushToTalk, false});
}

QCoro::Task<> HotKeyManager::dispatchLater(HotKeyCenter::Event event)
{
    const std::stop_token ended = m_lifetime.token();
    co_await m_clock.sleep(0);
    if (!ended.stop_requested())
        dispatch(event);
}

void HotKeyManager::dispatch(HotKeyCenter::Event event) const
{
    const auto call = [](const auto& callback, auto... argument) {
        if (callback)
            callback(argument...);
    };
    if (!event.pressed) {
        if (event.number == kPushToTalk)
            call(onPushToTalkEnded);
        return;
    }
    switch (event.number) {
    case kToggle:
        return call(onToggle);
    case kPushToTalk:
        return call(onPushToTalkBegan);
    case kCancel:
        return call(onCancel);
    case kAgent:
        return call(onAgentToggle);
    case kAgentScreenshot:
        return call(onAgentScreenshotToggle);
    default:
        if (event.number >= kFirstProfile)
            call(onAgentProfileToggle, static_cast<int>(event.number - kFirstProfile));
    }
}

} // namespace tallowfern
