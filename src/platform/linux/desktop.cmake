# What is the same under X11 and Wayland.
tallow_library(linux_preferences FOLDER platform/linux/preferences
  SOURCES
    preferences/FilePreferenceStore.h
    preferences/FilePreferenceStore.cpp
    preferences/PreferenceJson.h
    preferences/PreferenceJson.cpp
  LINKS Tallow::platform)

tallow_library(linux_process FOLDER platform/linux/process
  SOURCES
    process/LinuxProcessLauncher.h
    process/LinuxProcessLauncher.cpp
    process/RunningChild.h
    process/RunningChild.cpp
  LINKS Tallow::platform)

tallow_library(linux_sound FOLDER platform/linux/sound
  SOURCES
    sound/PulseAudioCapture.h
    sound/PulseAudioCapture.cpp
    sound/PulseAudioRecording.h
    sound/PulseAudioRecording.cpp
    sound/PulseCaptureStream.h
    sound/PulseCaptureStream.cpp
    sound/PulseContext.h
    sound/PulseContext.cpp
    sound/PulseSound.h
    sound/PulseSound.cpp
    sound/PulseSoundPlayer.h
    sound/PulseSoundPlayer.cpp
    sound/PulseSources.h
    sound/PulseSources.cpp
    sound/WavFile.h
    sound/WavFile.cpp
  LINKS Tallow::platform PkgConfig::PULSE)

tallow_library(linux_accessibility FOLDER platform/linux/accessibility
  SOURCES
    accessibility/AtspiAccessibility.h
    accessibility/AtspiAccessibility.cpp
    accessibility/AtspiFocus.h
    accessibility/AtspiFocus.cpp
    accessibility/AtspiSearch.h
    accessibility/AtspiSearch.cpp
    accessibility/AtspiSelect.h
    accessibility/AtspiSelect.cpp
    accessibility/AtspiText.h
    accessibility/AtspiText.cpp
    accessibility/TextUnits.h
    accessibility/TextUnits.cpp
    accessibility/Within.h
  LINKS Tallow::platform Qt6::DBus QCoro6::DBus)

tallow_library(linux_appearance FOLDER platform/linux/appearance
  SOURCES
    appearance/PortalAppearance.h
    appearance/PortalAppearance.cpp
  LINKS Tallow::platform Qt6::DBus)

tallow_library(linux_network FOLDER platform/linux/network
  SOURCES
    network/CurlDownloader.h
    network/CurlDownloader.cpp
    network/CurlTransfer.h
    network/CurlTransfer.cpp
  LINKS Tallow::platform PkgConfig::CURL)

tallow_library(linux_notifications FOLDER platform/linux/notifications
  SOURCES
    notifications/DesktopNotifications.h
    notifications/DesktopNotifications.cpp
  LINKS Tallow::platform Qt6::DBus QCoro6::DBus)

tallow_library(linux_secrets FOLDER platform/linux/secrets
  SOURCES
    secrets/SecretServiceCalls.h
    secrets/SecretServiceCalls.cpp
    secrets/SecretServiceStore.h
    secrets/SecretServiceStore.cpp
  LINKS Tallow::platform PkgConfig::SECRET)
