#include "fakes/FakePreferenceStore.h"
#include "shortcuts/KeyboardShortcutSetting.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(KeyboardShortcut, DefaultsReadAsTheUserKnowsThemAndDoNotConflict)
{
    using namespace DefaultShortcuts;
    const QList<KeyboardShortcutSetting> all = {toggle(), pushToTalk(), agent(), agentScreenshot(), cancel()};
    QStringList names;
    for (const auto& shortcut : all)
        names.append(shortcut.displayName());
    EXPECT_EQ(names, QStringList({u"⌥Space"_s, u"⌃⌥Space"_s, u"⌥⇧Space"_s, u"⌃⌥⇧Space"_s, u"Esc"_s}));
    EXPECT_THAT(KeyboardShortcutSetting::conflicts(all), IsEmpty());

    const KeyboardShortcutSetting everything{3, u"F"_s, true, true, true, true};
    EXPECT_EQ(everything.displayName(), u"⌃⌥⇧⌘F"_s);
    EXPECT_EQ(everything.chord(), (KeyChord{3, 256 + 512 + 2048 + 4096}));
    EXPECT_EQ(toggle().chord(), (KeyChord{49, 2048}));
}

TEST(KeyboardShortcut, ConflictsAreTheValuesThatOccurMoreThanOnce)
{
    const KeyboardShortcutSetting a = DefaultShortcuts::toggle();
    const KeyboardShortcutSetting b = DefaultShortcuts::agent();
    KeyboardShortcutSetting relabelled = a;
    relabelled.keyLabel = u"space"_s;
    EXPECT_THAT(KeyboardShortcutSetting::conflicts({a, b, a, relabelled, a}), ElementsAre(a));
}

TEST(KeyboardShortcut, OnlyAWholeStoredValueCounts)
{
    const QString name = u"toggleShortcut"_s;
    const KeyboardShortcutSetting fallback = DefaultShortcuts::toggle();
    const KeyboardShortcutSetting stored{4294967295u, u"ß \"?\""_s, true, false, true, false};
    FakePreferenceStore store;
    EXPECT_EQ(KeyboardShortcutSetting::load(store, name, fallback), fallback);
    stored.save(store, name);
    EXPECT_EQ(KeyboardShortcutSetting::load(store, name, fallback), stored);

    const QByteArray foreign
        = R"({"keyCode":9,"keyLabel":"V","command":true,"option":false,"control":false,"shift":false,"later":1})";
    store.set(name, foreign);
    EXPECT_EQ(KeyboardShortcutSetting::load(store, name, fallback).displayName(), u"⌘V"_s);

    const PreferenceValue unfit[] = {
        QByteArray(),
        QByteArray("\xff\xfe"),
        QByteArray("[]"),
        QByteArray(foreign).replace("\"shift\":false,", ""),
        QByteArray(foreign).replace("9", "-1"),
        QByteArray(foreign).replace("9", "9.5"),
        QByteArray(foreign).replace("true", "1"),
        QString::fromUtf8(foreign),
    };
    for (const PreferenceValue& value : unfit) {
        store.set(name, value);
        EXPECT_EQ(KeyboardShortcutSetting::load(store, name, fallback), fallback);
    }
}

} // namespace
} // namespace tallowfern
