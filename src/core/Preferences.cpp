#include "core/Preferences.h"

#include "foundation/Json.h"
#include "speech/Vocabulary.h"

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr auto kOnboardingComplete = "onboardingComplete";
constexpr auto kSelectedModelID = "selectedModelID";
constexpr auto kAutomaticPaste = "automaticPaste";
constexpr auto kClipboardRestoreEnabled = "clipboardRestoreEnabled";
constexpr auto kClipboardRestoreDelay = "clipboardRestoreDelay";
constexpr auto kSmartDictation = "smartDictation";
constexpr auto kOverlayAppearance = "overlayAppearance";
constexpr auto kOverlaySize = "overlaySize";
constexpr auto kCompletionSound = "completionSound";
constexpr auto kCompletionSoundEnabled = "completionSoundEnabled";
constexpr auto kToggleShortcut = "toggleShortcut";
constexpr auto kPushToTalkShortcut = "pushToTalkShortcut";
constexpr auto kCancelShortcut = "cancelShortcut";
constexpr auto kFinishShortcut = "finishShortcut"; // an older version's name of the cancel shortcut, only read
constexpr auto kAgentShortcut = "agentShortcut";
constexpr auto kAgentScreenshotShortcut = "agentScreenshotShortcut";
constexpr auto kAgentSettings = "agentSettings";
constexpr auto kVocabulary = "vocabulary";

QString key(const char* name)
{
    return QString::fromLatin1(name);
}

qint64 clampedDelay(qint64 seconds)
{
    return std::clamp<qint64>(seconds, 1, 60);
}

template <StringEnum E>
E readEnum(const PreferenceStore& store, const char* name, E fallback)
{
    const auto stored = store.get<QString>(key(name));
    return stored ? enumFromString<E>(*stored).value_or(fallback) : fallback;
}

KeyboardShortcutSetting readShortcut(
    const PreferenceStore& store, const char* name, const KeyboardShortcutSetting& fallback)
{
    return KeyboardShortcutSetting::load(store, key(name), fallback);
}

AgentSettings readAgentSettings(const PreferenceStore& store)
{
    const auto bytes = store.get<QByteArray>(key(kAgentSettings));
    if (!bytes)
        return AgentSettings::defaults();
    try {
        return AgentSettings::fromStorage(*bytes);
    } catch (const LocalizedError&) {
        return AgentSettings::defaults();
    }
}

} // namespace

Preferences::Preferences(PreferenceStore& store, const ShortcutDefaults& defaults)
    : m_store(store)
    , m_onboardingComplete(store.get<bool>(key(kOnboardingComplete)).value_or(false))
    , m_selectedModelID(store.get<QString>(key(kSelectedModelID)).value_or(u"pocket"_s))
    , m_automaticPaste(store.get<bool>(key(kAutomaticPaste)).value_or(true))
    , m_clipboardRestoreEnabled(store.get<bool>(key(kClipboardRestoreEnabled)).value_or(false))
    , m_clipboardRestoreDelay(clampedDelay(store.get<qint64>(key(kClipboardRestoreDelay)).value_or(3)))
    , m_smartDictationEnabled(store.get<bool>(key(kSmartDictation)).value_or(false))
    , m_overlayAppearance(readEnum(store, kOverlayAppearance, OverlayAppearance::Dark))
    , m_overlaySize(readEnum(store, kOverlaySize, OverlaySize::Classic))
    , m_completionSound(readEnum(store, kCompletionSound, CompletionSound::GlassChime))
    , m_completionSoundEnabled(store.get<bool>(key(kCompletionSoundEnabled)).value_or(true))
    , m_toggleShortcut(readShortcut(store, kToggleShortcut, defaults.toggle))
    , m_pushToTalkShortcut(readShortcut(store, kPushToTalkShortcut, defaults.pushToTalk))
    , m_cancelShortcut(readShortcut(store, kCancelShortcut, readShortcut(store, kFinishShortcut, defaults.cancel)))
    , m_agentShortcut(readShortcut(store, kAgentShortcut, defaults.agent))
    , m_agentScreenshotShortcut(readShortcut(store, kAgentScreenshotShortcut, defaults.agentScreenshot))
    , m_agentSettings(readAgentSettings(store))
    , m_vocabulary(store.get<QStringList>(key(kVocabulary)).value_or(QStringList()))
{
}

void Preferences::setOnboardingComplete(bool value)
{
    m_onboardingComplete = value;
    Q_EMIT onboardingCompleteChanged();
    m_store.set(key(kOnboardingComplete), value);
}

void Preferences::setSelectedModelID(const QString& value)
{
    m_selectedModelID = value;
    Q_EMIT selectedModelIDChanged();
    m_store.set(key(kSelectedModelID), value);
}

void Preferences::setAutomaticPaste(bool value)
{
    m_automaticPaste = value;
    Q_EMIT automaticPasteChanged();
    m_store.set(key(kAutomaticPaste), value);
}

void Preferences::setClipboardRestoreEnabled(bool value)
{
    m_clipboardRestoreEnabled = value;
    Q_EMIT clipboardRestoreEnabledChanged();
    m_store.set(key(kClipboardRestoreEnabled), value);
}

void Preferences::setClipboardRestoreDelay(qint64 seconds)
{
    m_clipboardRestoreDelay = clampedDelay(seconds);
    Q_EMIT clipboardRestoreDelayChanged();
    m_store.set(key(kClipboardRestoreDelay), m_clipboardRestoreDelay);
}

void Preferences::setSmartDictationEnabled(bool value)
{
    m_smartDictationEnabled = value;
    Q_EMIT smartDictationEnabledChanged();
    m_store.set(key(kSmartDictation), value);
}

void Preferences::setOverlayAppearance(OverlayAppearance value)
{
    m_overlayAppearance = value;
    Q_EMIT overlayAppearanceChanged();
    m_store.set(key(kOverlayAppearance), enumToString(value));
}

void Preferences::setOverlaySize(OverlaySize value)
{
    m_overlaySize = value;
    Q_EMIT overlaySizeChanged();
    m_store.set(key(kOverlaySize), enumToString(value));
}

void Preferences::setCompletionSound(CompletionSound value)
{
    m_completionSound = value;
    Q_EMIT completionSoundChanged();
    m_store.set(key(kCompletionSound), enumToString(value));
}

void Preferences::setCompletionSoundEnabled(bool value)
{
    m_completionSoundEnabled = value;
    Q_EMIT completionSoundEnabledChanged();
    m_store.set(key(kCompletionSoundEnabled), value);
}

void Preferences::setShortcut(KeyboardShortcutSetting& member, const KeyboardShortcutSetting& value, const char* name)
{
    member = value;
    value.save(m_store, key(name));
    Q_EMIT shortcutsChanged();
}

void Preferences::setToggleShortcut(const KeyboardShortcutSetting& value)
{
    setShortcut(m_toggleShortcut, value, kToggleShortcut);
}

void Preferences::setPushToTalkShortcut(const KeyboardShortcutSetting& value)
{
    setShortcut(m_pushToTalkShortcut, value, kPushToTalkShortcut);
}

void Preferences::setCancelShortcut(const KeyboardShortcutSetting& value)
{
    setShortcut(m_cancelShortcut, value, kCancelShortcut);
}

void Preferences::setAgentShortcut(const KeyboardShortcutSetting& value)
{
    setShortcut(m_agentShortcut, value, kAgentShortcut);
}

void Preferences::setAgentScreenshotShortcut(const KeyboardShortcutSetting& value)
{
    setShortcut(m_agentScreenshotShortcut, value, kAgentScreenshotShortcut);
}

void Preferences::setAgentSettings(const AgentSettings& value)
{
    m_agentSettings = value;
    Q_EMIT agentSettingsChanged();
    m_store.set(key(kAgentSettings), json::encodeForStorage(value));
    Q_EMIT shortcutsChanged();
}

void Preferences::addVocabulary(const QString& term)
{
    if (const auto terms = addingTerm(m_vocabulary, term))
        setVocabulary(*terms);
}

void Preferences::removeVocabulary(const QString& term)
{
    setVocabulary(removingTerm(m_vocabulary, term));
}

void Preferences::setVocabulary(const QStringList& terms)
{
    m_vocabulary = terms;
    Q_EMIT vocabularyChanged();
    m_store.set(key(kVocabulary), terms);
}

} // namespace tallowfern
