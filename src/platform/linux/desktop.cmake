# What is the same under X11 and Wayland: sound, accessibility bus, preferences, child processes.
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
