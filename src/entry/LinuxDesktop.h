#pragma once

#include "core/PlatformServices.h"
#include "interface/InterfaceServices.h"
#include "platform/linux/accessibility/AtspiAccessibility.h"
#include "platform/linux/appearance/PortalAppearance.h"
#include "platform/linux/network/CurlDownloader.h"
#include "platform/linux/notifications/DesktopNotifications.h"
#include "platform/linux/preferences/FilePreferenceStore.h"
#include "platform/linux/process/LinuxProcessLauncher.h"
#include "platform/linux/screens/X11FloatingPanels.h"
#include "platform/linux/screens/X11ScreenCapture.h"
#include "platform/linux/screens/X11Screens.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "platform/linux/sound/PulseAudioCapture.h"
#include "platform/linux/sound/PulseContext.h"
#include "platform/linux/sound/PulseSoundPlayer.h"
#include "platform/linux/x11/X11Desktop.h"

#include <QCoroTask>
#include <QString>

#include <memory>
#include <variant>

namespace tallowfern {

/// The one place that chooses what stands behind the platform's interfaces.
class LinuxDesktop {
public:
    /// Before the application object is made. The sentence for the user when there is no desktop to work on; empty
    /// when there is one.
    static QString prepareProcess();
    /// The desktop of this session, or the sentence that says why there is none.
    static std::variant<std::unique_ptr<LinuxDesktop>, QString> create(
        Clock& clock, const QString& configurationFolder, const QString& resourcesFolder);

    PlatformServices services();
    InterfaceServices interfaceServices();
    /// Before the end; takes two seconds at most.
    QCoro::Task<> handOverClipboard() { return m_x11->pasteboard().handOver(); }
    X11Desktop& x11() { return *m_x11; }

private:
    LinuxDesktop(std::unique_ptr<X11Desktop> x11, std::unique_ptr<X11Connection> screens, Clock& clock,
        const QString& configurationFolder, const QString& resourcesFolder);

    Clock& m_clock;
    FilePreferenceStore m_preferences;
    std::unique_ptr<X11Desktop> m_x11;
    AtspiAccessibility m_accessibility;
    PulseContext m_sound;
    PulseAudioCapture m_audioCapture;
    PulseSoundPlayer m_soundPlayer;
    LinuxProcessLauncher m_processLauncher;
    CurlDownloader m_downloader;
    SecretServiceStore m_secrets;
    X11ScreenCapture m_screenCapture;
    DesktopNotifications m_notifications;
    std::unique_ptr<X11Connection> m_screensConnection;
    X11Screens m_screens;
    X11FloatingPanels m_floatingPanels;
    PortalAppearance m_appearance;
};

} // namespace tallowfern
