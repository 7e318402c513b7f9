#pragma once

#include "agent/AgentConversationStore.h"
#include "agent/AgentNotificationService.h"
#include "agent/AgentPasteCoordinator.h"
#include "agent/AgentRuntimeService.h"
#include "agent/models/AgentModelStore.h"
#include "core/CloudKeys.h"
#include "core/CommandSession.h"
#include "core/CompletionSounds.h"
#include "core/DictationDelivery.h"
#include "core/DictationSession.h"
#include "core/ErrorRouting.h"
#include "core/Navigation.h"
#include "core/OverlayPresenter.h"
#include "core/Permissions.h"
#include "core/PlatformServices.h"
#include "core/Preferences.h"
#include "core/ShortcutBindings.h"
#include "core/SmartCleanup.h"
#include "core/TranscriptionProgress.h"
#include "delivery/ClipboardRestorer.h"
#include "delivery/TextDelivery.h"
#include "history/HistoryStore.h"
#include "shortcuts/HotKeyManager.h"
#include "speech/AudioRecorder.h"
#include "speech/ModelStore.h"
#include "speech/ModelWarmer.h"
#include "speech/ResourceLocator.h"
#include "speech/WhisperRunner.h"
#include "system/AppPaths.h"

namespace tallowfern {

/// The hall: owns every store, service and session for the life of the process, in the order in which they are made.
/// The subjects themselves live in the members. Main thread.
class AppState {
public:
    /// `processors` bounds the threads of the speech engines. Hot keys work when the constructor returns.
    AppState(PlatformServices platform, const AppPaths& paths, const ResourceLocator& resources, int processors);

    /// Ends the recording or the writing that is under way.
    void cancelRecording();
    /// To be called once before the end: what the user's clipboard is still owed is given back.
    void prepareToQuit();

private:
    static ShortcutDefaults readyForPreferences(PlatformServices& platform);

    PlatformServices m_platform;

public:
    Permissions permissions;
    ModelStore models;
    HistoryStore history;
    AgentModelStore agentModels;
    AgentConversationStore conversations;
    AgentRuntimeService agentRuntime;
    AudioRecorder recorder;
    WhisperRunner runner;
    ModelWarmer warmer;
    HotKeyManager hotKeys;
    Preferences preferences;
    CloudKeys cloudKeys;
    Navigation navigation;
    OverlayPresenter overlay;
    ErrorRouting errors;
    CompletionSounds sounds;
    ClipboardRestorer restorer;
    TextDelivery textDelivery;
    DictationDelivery delivery;
    TranscriptionProgress progress;
    SmartCleanup smartCleanup;
    DictationSession dictation;
    CommandStatus commandStatus;
    CommandProgress commandProgress;
    AgentContextCaptureService agentContext;
    AgentPasteCoordinator agentPaste;
    AgentNotificationService agentNotifications;
    CommandTurn commandTurn;
    CommandSession command;
    ShortcutBindings shortcuts;
};

} // namespace tallowfern
