#include "core/DictationSession.h"

#include "core/SelectedModel.h"
#include "delivery/TargetCapture.h"
#include "foundation/Words.h"
#include "speech/TallowfernError.h"

#include <QFile>

namespace tallowfern {

namespace {

// Seconds for which the overlay stays after each ending.
constexpr double kHideAfterSuccess = 1.25;
constexpr double kHideAfterFailedStart = 2.2;
constexpr double kHideAfterFailedTranscription = 2.8;
constexpr double kHideAfterMissingPermission = 6.0; // to be read and acted upon

using Case = CaptureStatus::Case;
using Place = ErrorResolutionDestination::Place;

QString permissionMessage(PermissionAttention attention)
{
    switch (attention) {
    case PermissionAttention::Microphone:
        return words("Microphone access is required.");
    case PermissionAttention::Accessibility:
        return words("Accessibility access is required for automatic paste.");
    case PermissionAttention::MicrophoneAndAccessibility:
        return words("Microphone and Accessibility access are required.");
    }
    return {};
}

} // namespace

DictationSession::DictationSession(Collaborators collaborators)
    : m_with(std::move(collaborators))
{
    connect(&m_with.recorder, &AudioRecorder::interrupted, this, &DictationSession::recordingInterrupted);
}

bool DictationSession::canDictate() const
{
    const auto model = selectedModel(m_with.models, m_with.preferences);
    return model && m_with.models.isInstalled(*model);
}

void DictationSession::toggleRecording()
{
    if (m_with.commandIsBusy())
        return;
    if (m_status.state == Case::Recording)
        stopAndTranscribe();
    else if (m_status.state != Case::Processing)
        startRecording();
}

void DictationSession::beginPushToTalk()
{
    if (m_pushToTalkActive || m_status.isActive())
        return;
    m_pushToTalkActive = true; // also when the start is refused: the release then does nothing
    startRecording();
}

void DictationSession::endPushToTalk()
{
    if (!m_pushToTalkActive)
        return;
    m_pushToTalkActive = false;
    stopAndTranscribe();
}

void DictationSession::startRecording()
{
    if (m_with.commandIsBusy())
        return;
    m_with.overlay.cancelOverlayHide();
    m_with.permissions.refreshPermissions();
    m_with.errors.setPermissionAttention(std::nullopt);
    if (!checkPermissions())
        return;
    if (!canDictate()) {
        m_with.navigation.selectSection(AppSection::Models);
        failBeforeRecording(words("Choose a downloaded model."),
            {words("Choose or download a Dictation model."), Place::DictationModels}, kHideAfterFailedStart);
        m_with.navigation.bringMainWindowForward();
        return;
    }
    m_with.errors.setErrorResolution(std::nullopt);
    m_notice.clear();
    // Decided here and nowhere else, before recorder or overlay can disturb what is in front.
    const AgentTargetSnapshot target = captureTarget(m_with.workspace, m_with.accessibility);
    m_targetApplication = target.application;
    m_with.overlay.setTargetApplicationName(target.applicationName);
    try {
        m_with.recorder.start();
    } catch (const LocalizedError& error) {
        m_with.errors.setPermissionAttention(std::nullopt);
        failBeforeRecording(error.description(), {error.description(), Place::Permissions}, kHideAfterFailedStart);
        return;
    }
    setStatus(Case::Recording);
    m_with.hotKeys.enableCancel();
    m_with.overlay.present();
    if (const auto model = selectedModel(m_with.models, m_with.preferences))
        m_with.warmer.warm(m_with.models.localPath(*model));
}

bool DictationSession::checkPermissions()
{
    const bool microphone = m_with.permissions.microphoneGranted();
    const bool accessibility = m_with.permissions.accessibilityGranted() || !m_with.preferences.automaticPaste();
    if (microphone && accessibility)
        return true;
    if (!microphone && !accessibility)
        showPermissionError(PermissionAttention::MicrophoneAndAccessibility);
    else
        showPermissionError(microphone ? PermissionAttention::Accessibility : PermissionAttention::Microphone);
    return false;
}

void DictationSession::showPermissionError(PermissionAttention attention)
{
    m_with.errors.setPermissionAttention(attention);
    const QString message = permissionMessage(attention);
    failBeforeRecording(message, {message, Place::Permissions}, kHideAfterMissingPermission);
}

void DictationSession::failBeforeRecording(const QString& message, const ErrorResolution& resolution, double hideDelay)
{
    m_with.errors.setErrorResolution(resolution);
    setStatus(Case::Error, message);
    m_with.overlay.present();
    m_with.overlay.scheduleOverlayHide(hideDelay);
}

void DictationSession::stopAndTranscribe()
{
    if (m_status.state != Case::Recording)
        return;
    const auto recording = m_with.recorder.stop();
    if (!recording)
        return;
    const auto model = selectedModel(m_with.models, m_with.preferences);
    if (!model)
        return; // the cancel shortcut is the way out
    m_with.hotKeys.disableCancel();
    m_pushToTalkActive = false;
    setStatus(Case::Processing);
    m_with.progress.begin(model->engine);
    m_with.restorer.prepareSnapshot(); // slow owners answer while the engine works
    transcribe({*recording, *model, m_targetApplication, m_with.preferences.vocabulary()});
}

void DictationSession::recordingInterrupted(const QString& reason)
{
    if (m_status.state != Case::Recording)
        return;
    m_notice = reason;
    stopAndTranscribe();
}

QCoro::Task<> DictationSession::transcribe(Take take)
{
    const std::stop_token stop = m_lifetime.token();
    const auto report = [this, stop](double fraction) {
        if (!stop.stop_requested() && m_status.state == Case::Processing)
            m_with.progress.report(fraction);
    };
    QString failure;
    try {
        const QString modelPath = m_with.models.localPath(take.model);
        const QString transcript
            = co_await m_with.runner.transcribe(take.recording.path, take.model, modelPath, take.vocabulary, report);
        if (stop.stop_requested())
            co_return;
        const QString text = co_await m_with.smartCleanup.clean(transcript);
        if (stop.stop_requested())
            co_return;
        m_with.progress.finish();
        m_lastTranscript = text;
        Q_EMIT lastTranscriptChanged();
        FinishedDictation finished{text, take.recording.path, take.recording.duration, take.model.id, take.target};
        co_await m_with.delivery.deliver(finished);
        if (!stop.stop_requested())
            finishTranscription(text);
        co_return;
    } catch (const LocalizedError& error) {
        failure = error.description();
    } catch (const std::exception&) {
        failure = TallowfernError::transcriptionFailed({}).description();
    }
    if (!stop.stop_requested())
        failTranscription(take.recording.path, failure);
}

void DictationSession::finishTranscription(const QString& text)
{
    m_with.errors.setPermissionAttention(std::nullopt);
    setStatus(Case::Success, text);
    m_with.sounds.playCompletionSound();
    m_with.overlay.scheduleOverlayHide(kHideAfterSuccess);
}

void DictationSession::failTranscription(const QString& audioPath, const QString& message)
{
    m_with.progress.fail();
    QFile::remove(audioPath);
    m_with.errors.setPermissionAttention(std::nullopt);
    // A take that broke off and held no words: what broke it is what the user has to mend.
    const bool interrupted = !m_notice.isEmpty();
    const QString shown = interrupted ? m_notice : message;
    m_with.errors.setErrorResolution(ErrorResolution(shown, interrupted ? Place::Permissions : Place::DictationModels));
    setStatus(Case::Error, shown);
    m_with.overlay.scheduleOverlayHide(kHideAfterFailedTranscription);
}

void DictationSession::cancelRecording()
{
    if (m_status.state != Case::Recording)
        return;
    m_with.overlay.cancelOverlayHide();
    m_with.hotKeys.disableCancel();
    m_pushToTalkActive = false;
    m_with.recorder.cancel();
    setStatus(Case::Idle);
    m_with.overlay.hide();
}

void DictationSession::overlayEnded()
{
    setStatus(Case::Idle);
}

void DictationSession::setStatus(CaptureStatus::Case state, const QString& text)
{
    m_status = {state, text};
    Q_EMIT statusChanged();
}

} // namespace tallowfern
