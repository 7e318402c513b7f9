#include "shortcuts/KeyboardShortcutSetting.h"

#include "foundation/Words.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

QString KeyboardShortcutSetting::displayName() const
{
    QString name;
    if (control)
        name += words("⌃");
    if (option)
        name += words("⌥");
    if (shift)
        name += words("⇧");
    if (command)
        name += words("⌘");
    return name + keyLabel;
}

KeyChord KeyboardShortcutSetting::chord() const
{
    const quint32 modifiers = (command ? KeyChord::kCommand : 0) + (shift ? KeyChord::kShift : 0)
        + (option ? KeyChord::kOption : 0) + (control ? KeyChord::kControl : 0);
    return {keyCode, modifiers};
}

KeyboardShortcutSetting KeyboardShortcutSetting::load(
    const PreferenceStore& store, const QString& key, const KeyboardShortcutSetting& fallback)
{
    const auto bytes = store.get<QByteArray>(key);
    if (!bytes)
        return fallback;
    try {
        return json::decode<KeyboardShortcutSetting>(*bytes);
    } catch (const json::DecodingError&) {
        return fallback;
    }
}

void KeyboardShortcutSetting::save(PreferenceStore& store, const QString& key) const
{
    store.set(key, json::encodeForStorage(*this));
}

QSet<KeyboardShortcutSetting> KeyboardShortcutSetting::conflicts(const QList<KeyboardShortcutSetting>& shortcuts)
{
    QSet<KeyboardShortcutSetting> seen;
    QSet<KeyboardShortcutSetting> repeated;
    for (const auto& shortcut : shortcuts) {
        if (seen.contains(shortcut))
            repeated.insert(shortcut);
        seen.insert(shortcut);
    }
    return repeated;
}

namespace {

constexpr quint32 kSpace = 49;
constexpr quint32 kEscape = 53;

KeyboardShortcutSetting space(bool control, bool option, bool shift)
{
    return {.keyCode = kSpace, .keyLabel = u"Space"_s, .option = option, .control = control, .shift = shift};
}

} // namespace

KeyboardShortcutSetting DefaultShortcuts::toggle()
{
    return space(false, true, false);
}

KeyboardShortcutSetting DefaultShortcuts::pushToTalk()
{
    return space(true, true, false);
}

KeyboardShortcutSetting DefaultShortcuts::agent()
{
    return space(false, true, true);
}

KeyboardShortcutSetting DefaultShortcuts::agentScreenshot()
{
    return space(true, true, true);
}

KeyboardShortcutSetting DefaultShortcuts::cancel()
{
    return {.keyCode = kEscape, .keyLabel = u"Esc"_s};
}

} // namespace tallowfern
