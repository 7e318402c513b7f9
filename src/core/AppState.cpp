#include "core/AppState.h"

#include "core/ModelHub.h"
#include "core/PreferenceMigration.h"

#include <QDir>

namespace tallowfern {

using namespace Qt::StringLiterals;

ShortcutDefaults AppState::readyForPreferences(PlatformServices& platform)
{
    migrateLegacyPreferences(platform.preferences);
    return chooseShortcutDefaults(platform.preferences, platform.hotKeyCenter);
}

AppState::AppState(PlatformServices platform, const AppPaths& paths, const ResourceLocator& resources, int processors)
    : m_platform(platform)
    , permissions(platform.audioCapture, platform.keyPoster)
    , models(
          paths, platform.downloader, [&store = platform.preferences] { return hubBaseURL(store); },
          resources.file(SpeechModel::catalog().first().fileName))
    , history(paths, platform.clock)
    , agentModels(paths, platform.downloader, [&store = platform.preferences] { return hubBaseURL(store); })
    , conversations(paths, platform.clock)
    , agentRuntime(
          platform.clock, platform.processLauncher, [resources](const QString& name) { return resources.file(name); })
    , recorder(platform.audioCapture, paths, platform.clock)
    , runner(platform.processLauncher, resources, processors)
    , hotKeys(platform.hotKeyCenter, platform.clock)
    , preferences(platform.preferences, readyForPreferences(platform))
    , cloudKeys(platform.secrets, preferences)
    , overlay(platform.clock)
    , errors(overlay, navigation)
    , sounds(platform.soundPlayer, preferences)
    , restorer(platform.pasteboard, platform.clock,
          [this] {
              return preferences.clipboardRestoreEnabled()
                  ? std::optional(static_cast<int>(preferences.clipboardRestoreDelay()))
                  : std::nullopt;
          })
    , textDelivery(platform.workspace, platform.keyPoster, platform.clock)
    , delivery(platform.clock, preferences, platform.pasteboard, restorer, textDelivery, history)
    , progress(platform.clock, overlay)
    , smartCleanup({preferences, agentModels, agentRuntime, platform.clock,
          [resources](const QString& name) { return resources.file(name); }, paths.agentSessions()})
    , dictation({preferences, permissions, errors, overlay, navigation, models, recorder, runner, warmer, hotKeys,
          platform.workspace, platform.accessibility, restorer, delivery, progress, smartCleanup, sounds,
          [this] { return command.isBusy(); }})
    , commandProgress(platform.clock, commandStatus)
    , agentContext({platform.workspace, platform.accessibility, platform.pasteboard, platform.keyPoster,
          platform.screenCapture, textDelivery, restorer, platform.clock, paths.pendingAttachments()})
    , agentPaste(agentContext, textDelivery, platform.pasteboard, restorer)
    , agentNotifications(platform.notifications, [this] { navigation.bringMainWindowForward(); })
    , commandTurn({platform.clock, commandStatus, commandProgress, preferences, overlay, agentModels, conversations,
          agentRuntime, cloudKeys, agentPaste, platform.pasteboard, sounds, agentNotifications,
          [resources](const QString& name) { return resources.file(name); }, paths.agentSessions()})
    , command({commandStatus, commandProgress, commandTurn, agentContext, agentPaste, preferences, permissions, errors,
          overlay, hotKeys, recorder, runner, warmer, models, agentModels, conversations, cloudKeys,
          platform.pasteboard, textDelivery, platform.keyPoster, platform.clock,
          [this] { return dictation.status().isActive(); }, [this] { dictation.overlayEnded(); }})
    , shortcuts(preferences, agentModels, hotKeys,
          [this] { return dictation.status().state == CaptureStatus::Case::Recording || commandStatus.isActive(); })
{
    overlay.isNeeded = [this] { return dictation.status().isActive() || commandStatus.isActive(); };
    overlay.onEnded = [this] { dictation.overlayEnded(); };
    errors.onPermissionErrorEnded = [this] { dictation.overlayEnded(); };

    hotKeys.onToggle = [this] { dictation.toggleRecording(); };
    hotKeys.onPushToTalkBegan = [this] { dictation.beginPushToTalk(); };
    hotKeys.onPushToTalkEnded = [this] { dictation.endPushToTalk(); };
    hotKeys.onAgentToggle = [this] { command.toggleAgentRecording(false, std::nullopt); };
    hotKeys.onAgentScreenshotToggle = [this] { command.toggleAgentRecording(true, std::nullopt); };
    hotKeys.onAgentProfileToggle = [this](int index) { command.toggleAgentRecording(index); };
    hotKeys.onCancel = [this] { cancelRecording(); };

    AudioRecorder::cleanupTemporaryRecordings(paths);
    QDir(paths.pendingAttachments()).removeRecursively(); // of turns that never came about
    cloudKeys.load();
    shortcuts.refreshHotKeys();
    agentRuntime.start();
}

void AppState::cancelRecording()
{
    if (!command.cancelRecording())
        dictation.cancelRecording();
}

void AppState::prepareToQuit()
{
    restorer.restoreNow();
}

} // namespace tallowfern
