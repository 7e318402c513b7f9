#include "core/ShortcutBindings.h"

#include "core/SelectedModel.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

void chooseDefault(PreferenceStore& store, HotKeyCenter& center, const QString& key, KeyboardShortcutSetting& shortcut)
{
    if (store.value(key))
        return;
    constexpr quint32 kProbe = 0; // no shortcut has this number
    if (center.grab(kProbe, shortcut.chord()))
        return;
    KeyboardShortcutSetting withSuper = shortcut;
    withSuper.command = true;
    if (!center.grab(kProbe, withSuper.chord()))
        return; // neither can be had: the plain one, which is then told to be taken
    shortcut = withSuper;
    shortcut.save(store, key);
}

} // namespace

ShortcutDefaults chooseShortcutDefaults(PreferenceStore& store, HotKeyCenter& center)
{
    ShortcutDefaults defaults{DefaultShortcuts::toggle(), DefaultShortcuts::pushToTalk(), DefaultShortcuts::agent(),
        DefaultShortcuts::agentScreenshot(), DefaultShortcuts::cancel()};
    chooseDefault(store, center, u"toggleShortcut"_s, defaults.toggle);
    chooseDefault(store, center, u"pushToTalkShortcut"_s, defaults.pushToTalk);
    chooseDefault(store, center, u"agentShortcut"_s, defaults.agent);
    chooseDefault(store, center, u"agentScreenshotShortcut"_s, defaults.agentScreenshot);
    return defaults;
}

ShortcutBindings::ShortcutBindings(const Preferences& preferences, const AgentModelStore& models,
    HotKeyManager& hotKeys, std::function<bool()> cancelIsNeeded)
    : m_preferences(preferences)
    , m_models(models)
    , m_hotKeys(hotKeys)
    , m_cancelIsNeeded(std::move(cancelIsNeeded))
{
    connect(&preferences, &Preferences::shortcutsChanged, this, &ShortcutBindings::refreshHotKeys);
}

void ShortcutBindings::refreshHotKeys()
{
    if (m_hotKeysSuspended)
        return;
    HotKeyShortcuts shortcuts;
    shortcuts.toggle = m_preferences.toggleShortcut();
    shortcuts.pushToTalk = m_preferences.pushToTalkShortcut();
    shortcuts.agent = m_preferences.agentShortcut();
    const auto model = selectedAgentModel(m_models, m_preferences);
    if (model && model->capabilities.images)
        shortcuts.agentScreenshot = m_preferences.agentScreenshotShortcut();
    for (const AgentPromptProfile& profile : m_preferences.agentSettings().promptProfiles)
        shortcuts.agentProfiles.append(profile.shortcut);
    shortcuts.cancel = m_preferences.cancelShortcut();
    m_hotKeys.registerShortcuts(shortcuts);
    if (m_cancelIsNeeded())
        m_hotKeys.enableCancel();
}

void ShortcutBindings::setHotKeysSuspended(bool suspended)
{
    m_hotKeysSuspended = suspended;
    if (suspended)
        m_hotKeys.unregister();
    else
        refreshHotKeys();
}

} // namespace tallowfern
