#pragma once

#include "agent/AgentSettings.h"
#include "core/PreferenceTypes.h"
#include "platform/PreferenceStore.h"
#include "shortcuts/KeyboardShortcutSetting.h"

#include <QObject>
#include <QStringList>

namespace tallowfern {

/// What the global shortcuts are until the user chooses others.
struct ShortcutDefaults {
    KeyboardShortcutSetting toggle;
    KeyboardShortcutSetting pushToTalk;
    KeyboardShortcutSetting agent;
    KeyboardShortcutSetting agentScreenshot;
    KeyboardShortcutSetting cancel;
};

/// Every setting of the user. Read once from the store when made; a setter publishes the value, then writes it.
/// A value of an unknown form reads as the default. Main thread.
class Preferences : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        bool onboardingComplete READ onboardingComplete WRITE setOnboardingComplete NOTIFY onboardingCompleteChanged)
    Q_PROPERTY(QString selectedModelID READ selectedModelID WRITE setSelectedModelID NOTIFY selectedModelIDChanged)
    Q_PROPERTY(bool automaticPaste READ automaticPaste WRITE setAutomaticPaste NOTIFY automaticPasteChanged)
    Q_PROPERTY(bool clipboardRestoreEnabled READ clipboardRestoreEnabled WRITE setClipboardRestoreEnabled NOTIFY
            clipboardRestoreEnabledChanged)
    Q_PROPERTY(qint64 clipboardRestoreDelay READ clipboardRestoreDelay WRITE setClipboardRestoreDelay NOTIFY
            clipboardRestoreDelayChanged)
    Q_PROPERTY(bool smartDictationEnabled READ smartDictationEnabled WRITE setSmartDictationEnabled NOTIFY
            smartDictationEnabledChanged)
    Q_PROPERTY(bool completionSoundEnabled READ completionSoundEnabled WRITE setCompletionSoundEnabled NOTIFY
            completionSoundEnabledChanged)
    Q_PROPERTY(QStringList vocabulary READ vocabulary NOTIFY vocabularyChanged)

public:
    Preferences(PreferenceStore& store, const ShortcutDefaults& defaults);

    bool onboardingComplete() const { return m_onboardingComplete; }
    QString selectedModelID() const { return m_selectedModelID; }
    bool automaticPaste() const { return m_automaticPaste; }
    bool clipboardRestoreEnabled() const { return m_clipboardRestoreEnabled; }
    qint64 clipboardRestoreDelay() const { return m_clipboardRestoreDelay; } ///< whole seconds, 1 to 60
    bool smartDictationEnabled() const { return m_smartDictationEnabled; }
    OverlayAppearance overlayAppearance() const { return m_overlayAppearance; }
    OverlaySize overlaySize() const { return m_overlaySize; }
    CompletionSound completionSound() const { return m_completionSound; }
    bool completionSoundEnabled() const { return m_completionSoundEnabled; }
    const KeyboardShortcutSetting& toggleShortcut() const { return m_toggleShortcut; }
    const KeyboardShortcutSetting& pushToTalkShortcut() const { return m_pushToTalkShortcut; }
    const KeyboardShortcutSetting& cancelShortcut() const { return m_cancelShortcut; }
    const KeyboardShortcutSetting& agentShortcut() const { return m_agentShortcut; }
    const KeyboardShortcutSetting& agentScreenshotShortcut() const { return m_agentScreenshotShortcut; }
    const AgentSettings& agentSettings() const { return m_agentSettings; }
    QStringList vocabulary() const { return m_vocabulary; }

    void setOnboardingComplete(bool value);
    void setSelectedModelID(const QString& value);
    void setAutomaticPaste(bool value);
    void setClipboardRestoreEnabled(bool value);
    void setClipboardRestoreDelay(qint64 seconds); ///< clamped to 1 to 60
    void setSmartDictationEnabled(bool value);
    void setOverlayAppearance(OverlayAppearance value);
    void setOverlaySize(OverlaySize value);
    void setCompletionSound(CompletionSound value);
    void setCompletionSoundEnabled(bool value);
    void setToggleShortcut(const KeyboardShortcutSetting& value);
    void setPushToTalkShortcut(const KeyboardShortcutSetting& value);
    void setCancelShortcut(const KeyboardShortcutSetting& value);
    void setAgentShortcut(const KeyboardShortcutSetting& value);
    void setAgentScreenshotShortcut(const KeyboardShortcutSetting& value);
    void setAgentSettings(const AgentSettings& value);
    /// Does nothing for blanks and for a term that is there already, in whatever capitals.
    void addVocabulary(const QString& term);
    void removeVocabulary(const QString& term);

Q_SIGNALS:
    void onboardingCompleteChanged();
    void selectedModelIDChanged();
    void automaticPasteChanged();
    void clipboardRestoreEnabledChanged();
    void clipboardRestoreDelayChanged();
    void smartDictationEnabledChanged();
    void overlayAppearanceChanged();
    void overlaySizeChanged();
    void completionSoundChanged();
    void completionSoundEnabledChanged();
    void shortcutsChanged(); ///< any of the five, or the profiles within the agent settings
    void agentSettingsChanged();
    void vocabularyChanged();

private:
    void setShortcut(KeyboardShortcutSetting& member, const KeyboardShortcutSetting& value, const char* key);
    void setVocabulary(const QStringList& terms);

    PreferenceStore& m_store;
    bool m_onboardingComplete;
    QString m_selectedModelID;
    bool m_automaticPaste;
    bool m_clipboardRestoreEnabled;
    qint64 m_clipboardRestoreDelay;
    bool m_smartDictationEnabled;
    OverlayAppearance m_overlayAppearance;
    OverlaySize m_overlaySize;
    CompletionSound m_completionSound;
    bool m_completionSoundEnabled;
    KeyboardShortcutSetting m_toggleShortcut;
    KeyboardShortcutSetting m_pushToTalkShortcut;
    KeyboardShortcutSetting m_cancelShortcut;
    KeyboardShortcutSetting m_agentShortcut;
    KeyboardShortcutSetting m_agentScreenshotShortcut;
    AgentSettings m_agentSettings;
    QStringList m_vocabulary;
};

} // namespace tallowfern
