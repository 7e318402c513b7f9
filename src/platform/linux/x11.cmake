# X11: clipboard, windows, keys.
tallow_library(linux_x11 FOLDER platform/linux/x11
  SOURCES
    x11/DesktopEntry.h x11/DesktopEntry.cpp
    x11/EditChord.h x11/EditChord.cpp
    x11/VirtualKeys.h x11/VirtualKeys.cpp
    x11/X11Connection.h x11/X11Connection.cpp
    x11/X11Desktop.h x11/X11Desktop.cpp
    x11/X11HeldKeys.h x11/X11HeldKeys.cpp
    x11/X11HotKeyCenter.h x11/X11HotKeyCenter.cpp
    x11/X11KeyMap.h x11/X11KeyMap.cpp
    x11/X11KeyPoster.h x11/X11KeyPoster.cpp
    x11/X11Pasteboard.h x11/X11Pasteboard.cpp
    x11/X11SelectionOwner.h x11/X11SelectionOwner.cpp
    x11/X11SelectionReader.h x11/X11SelectionReader.cpp
    x11/X11SelectionSender.h x11/X11SelectionSender.cpp
    x11/X11Workspace.h x11/X11Workspace.cpp
    x11/Xkb.h
  LINKS Tallow::platform PkgConfig::XCB)

tallow_library(linux_screens FOLDER platform/linux/screens
  SOURCES
    screens/X11FloatingPanels.h screens/X11FloatingPanels.cpp
    screens/X11Reservations.h screens/X11Reservations.cpp
    screens/X11ScreenCapture.h screens/X11ScreenCapture.cpp
    screens/X11Screens.h screens/X11Screens.cpp
    screens/X11WindowPicture.h screens/X11WindowPicture.cpp
  LINKS Tallow::linux_x11 Qt6::Gui)
