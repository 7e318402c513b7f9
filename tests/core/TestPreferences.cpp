#include "core/PreferenceMigration.h"
#include "core/Preferences.h"
#include "fakes/FakePreferenceStore.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;

const ShortcutDefaults& defaults()
{
    static const ShortcutDefaults value{DefaultShortcuts::toggle(), DefaultShortcuts::pushToTalk(),
        DefaultShortcuts::agent(), DefaultShortcuts::agentScreenshot(), DefaultShortcuts::cancel()};
    return value;
}

TEST(Preferences, WrongTypesAndUnknownWordsReadAsTheDefaults)
{
    FakePreferenceStore store;
    store.values = {{u"automaticPaste"_s, u"no"_s}, {u"completionSoundEnabled"_s, qint64{0}},
        {u"overlayAppearance"_s, u"automatic"_s}, {u"overlaySize"_s, true}, {u"completionSound"_s, u"Gong"_s},
        {u"clipboardRestoreDelay"_s, u"text"_s}, {u"agentSettings"_s, QByteArray("{\"copyResult\": 3}")},
        {u"toggleShortcut"_s, QByteArray("{}")}, {u"selectedModelID"_s, u"unknown"_s}};
    const Preferences preferences(store, defaults());
    EXPECT_TRUE(preferences.automaticPaste());
    EXPECT_TRUE(preferences.completionSoundEnabled());
    EXPECT_EQ(preferences.overlayAppearance(), OverlayAppearance::Dark);
    EXPECT_EQ(preferences.overlaySize(), OverlaySize::Classic);
    EXPECT_EQ(preferences.completionSound(), CompletionSound::GlassChime);
    EXPECT_EQ(preferences.clipboardRestoreDelay(), 3);
    EXPECT_FALSE(preferences.clipboardRestoreEnabled());
    EXPECT_EQ(preferences.agentSettings(), AgentSettings::defaults());
    EXPECT_EQ(preferences.toggleShortcut(), DefaultShortcuts::toggle());
    EXPECT_EQ(preferences.selectedModelID(), u"unknown"_s); // kept: the failure says so at the next Dictation
}

TEST(Preferences, RestoreDelayStaysWithinItsBounds)
{
    for (const auto& [stored, read] : {std::pair<qint64, qint64>{0, 1}, {1, 1}, {60, 60}, {500, 60}, {-5, 1}}) {
        FakePreferenceStore store;
        store.set(u"clipboardRestoreDelay"_s, stored);
        Preferences preferences(store, defaults());
        EXPECT_EQ(preferences.clipboardRestoreDelay(), read);
        preferences.setClipboardRestoreDelay(stored);
        EXPECT_EQ(preferences.clipboardRestoreDelay(), read);
        EXPECT_EQ(store.get<qint64>(u"clipboardRestoreDelay"_s), read);
    }
}

TEST(Preferences, WhatIsSetIsThereAtTheNextStart)
{
    FakePreferenceStore store;
    KeyboardShortcutSetting shortcut = DefaultShortcuts::toggle();
    shortcut.shift = true;
    AgentSettings agent;
    agent.personalContext = u"Zürich"_s;
    {
        Preferences preferences(store, defaults());
        preferences.setAutomaticPaste(false);
        preferences.setSmartDictationEnabled(true);
        preferences.setOverlayAppearance(OverlayAppearance::Automatic);
        preferences.setCompletionSound(CompletionSound::GentleTap);
        preferences.setToggleShortcut(shortcut);
        preferences.setAgentSettings(agent);
        preferences.addVocabulary(u" zeta "_s);
        preferences.addVocabulary(u"Alpha"_s);
        preferences.addVocabulary(u"ZETA"_s);
        preferences.removeVocabulary(u"alpha"_s);
    }
    const Preferences preferences(store, defaults());
    EXPECT_FALSE(preferences.automaticPaste());
    EXPECT_TRUE(preferences.smartDictationEnabled());
    EXPECT_TRUE(store.value(u"smartDictation"_s)); // under this key
    EXPECT_EQ(preferences.overlayAppearance(), OverlayAppearance::Automatic);
    EXPECT_EQ(preferences.completionSound(), CompletionSound::GentleTap);
    EXPECT_EQ(preferences.toggleShortcut(), shortcut);
    EXPECT_EQ(preferences.agentSettings(), agent);
    EXPECT_EQ(preferences.vocabulary(), (QStringList{u"Alpha"_s, u"zeta"_s}));
}

TEST(Preferences, TheOlderNameOfTheCancelShortcutCountsUntilANewOneIsChosen)
{
    FakePreferenceStore store;
    KeyboardShortcutSetting older = DefaultShortcuts::cancel();
    older.control = true;
    older.save(store, u"finishShortcut"_s);
    Preferences preferences(store, defaults());
    EXPECT_EQ(preferences.cancelShortcut(), older);
    EXPECT_FALSE(store.value(u"cancelShortcut"_s));
    preferences.setCancelShortcut(DefaultShortcuts::cancel());
    EXPECT_EQ(Preferences(store, defaults()).cancelShortcut(), DefaultShortcuts::cancel());
}

TEST(PreferenceMigration, TakesTheEarlierSettingsOverOnce)
{
    FakePreferenceStore store;
    store.set(u"selectedModelID"_s, u"swift"_s);
    store.domains[u"com.quorvane.plus"_s] = {{u"selectedModelID"_s, u"studio"_s}, {u"other"_s, 1.5}};
    migrateLegacyPreferences(store);
    EXPECT_EQ(store.get<QString>(u"selectedModelID"_s), u"studio"_s);
    EXPECT_EQ(store.get<double>(u"other"_s), 1.5);
    store.set(u"selectedModelID"_s, u"pocket"_s);
    migrateLegacyPreferences(store);
    EXPECT_EQ(store.get<QString>(u"selectedModelID"_s), u"pocket"_s);

    FakePreferenceStore fresh;
    migrateLegacyPreferences(fresh);
    fresh.domains = store.domains;
    migrateLegacyPreferences(fresh);
    EXPECT_FALSE(fresh.value(u"other"_s)); // the look happens once, also when there was nothing
}

} // namespace
} // namespace tallowfern
