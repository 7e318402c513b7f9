#pragma once

#include "core/CaptureStatus.h"
#include "core/CompletionSounds.h"
#include "core/DictationDelivery.h"
#include "core/ErrorRouting.h"
#include "core/Navigation.h"
#include "core/OverlayPresenter.h"
#include "core/Permissions.h"
#include "core/Preferences.h"
#include "core/SmartCleanup.h"
#include "core/TranscriptionProgress.h"
#include "foundation/Lifetime.h"
#include "platform/Accessibility.h"
#include "platform/Workspace.h"
#include "shortcuts/HotKeyManager.h"
#include "speech/AudioRecorder.h"
#include "speech/ModelStore.h"
#include "speech/ModelWarmer.h"
#include "speech/WhisperRunner.h"

#include <QCoroTask>
#include <QObject>

#include <functional>
#include <optional>

namespace tallowfern {

/// One Dictation from the shortcut to the moment the overlay disappears. Main thread; every operation returns at once.
class DictationSession : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString lastTranscript READ lastTranscript NOTIFY lastTranscriptChanged)
public:
    struct Collaborators {
        Preferences& preferences;
        Permissions& permissions;
        ErrorRouting& errors;
        OverlayPresenter& overlay;
        Navigation& navigation;
        ModelStore& models;
        AudioRecorder& recorder;
        WhisperRunner& runner;
        ModelWarmer& warmer;
        HotKeyManager& hotKeys;
        Workspace& workspace;
        Accessibility& accessibility;
        ClipboardRestorer& restorer;
        DictationDelivery& delivery;
        TranscriptionProgress& progress;
        SmartCleanup& smartCleanup;
        CompletionSounds& sounds;
        std::function<bool()> commandIsBusy; ///< the two modes exclude each other
    };
    explicit DictationSession(Collaborators collaborators);

    const CaptureStatus& status() const { return m_status; }
    /// The words of the newest finished Dictation; never cleared.
    QString lastTranscript() const { return m_lastTranscript; }
    /// What happened to a take that ended by itself and was delivered all the same; empty otherwise.
    QString notice() const { return m_notice; }
    /// A speech model is selected and its file is there.
    bool canDictate() const;

    /// Starts, or stops and transcribes, by status. Dropped while words are on their way and while Command is busy.
    void toggleRecording();
    void beginPushToTalk();
    void endPushToTalk();
    /// Discards the running recording without a trace.
    void cancelRecording();
    /// The overlay has gone, or its failure was dealt with: back to idle.
    void overlayEnded();

Q_SIGNALS:
    void statusChanged();
    void lastTranscriptChanged();

private:
    /// What stop() gave, with what was decided at the start and the settings in force at the stop.
    struct Take {
        AudioRecorder::FinishedRecording recording;
        SpeechModel model;
        std::optional<RunningApplication> target;
        QStringList vocabulary;
    };

    void startRecording();
    bool checkPermissions();
    void showPermissionError(PermissionAttention attention);
    void failBeforeRecording(const QString& message, const ErrorResolution& resolution, double hideDelay);
    void stopAndTranscribe();
    void recordingInterrupted(const QString& reason);
    QCoro::Task<> transcribe(Take take);
    void finishTranscription(const QString& text);
    void failTranscription(const QString& audioPath, const QString& message);
    void setStatus(CaptureStatus::Case state, const QString& text = {});

    Collaborators m_with;
    CaptureStatus m_status;
    QString m_lastTranscript;
    QString m_notice;
    std::optional<RunningApplication> m_targetApplication;
    bool m_pushToTalkActive = false;
    Lifetime m_lifetime;
};

} // namespace tallowfern
