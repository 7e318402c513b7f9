#pragma once

#include "foundation/Clock.h"
#include "platform/Accessibility.h"
#include "platform/AudioCapture.h"
#include "platform/HotKeyCenter.h"
#include "platform/HttpDownloader.h"
#include "platform/KeyPoster.h"
#include "platform/NotificationCenter.h"
#include "platform/Pasteboard.h"
#include "platform/PreferenceStore.h"
#include "platform/ProcessLauncher.h"
#include "platform/ScreenCapture.h"
#include "platform/SecretStore.h"
#include "platform/SoundPlayer.h"
#include "platform/Workspace.h"

namespace tallowfern {

/// What the application needs of a desktop. Everything here outlives AppState.
struct PlatformServices {
    Clock& clock;
    PreferenceStore& preferences;
    Pasteboard& pasteboard;
    Workspace& workspace;
    KeyPoster& keyPoster;
    Accessibility& accessibility;
    HotKeyCenter& hotKeyCenter;
    AudioCapture& audioCapture;
    SoundPlayer& soundPlayer;
    ProcessLauncher& processLauncher;
    HttpDownloader& downloader;
    SecretStore& secrets;
    ScreenCapture& screenCapture;
    NotificationCenter& notifications;
};

} // namespace tallowfern
