#include "LinuxDesktop.h"

#include "foundation/Words.h"

#include <QStandardPaths>

#include <csignal>

namespace tallowfern {

using namespace Qt::StringLiterals;

QString LinuxDesktop::prepareProcess()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return words("There is no X11 desktop here (DISPLAY is not set). Start Tallowfern within a graphical session.");
    std::signal(SIGXFSZ, SIG_IGN); // a file at its size limit is a failed write, not our end
    qputenv("QT_QPA_PLATFORM", "xcb"); // one display for Qt and for us, also where a Wayland session offers both
    return {};
}

std::variant<std::unique_ptr<LinuxDesktop>, QString> LinuxDesktop::create(
    Clock& clock, const QString& configurationFolder, const QString& resourcesFolder)
{
    auto opened = X11Desktop::open();
    if (QString* problem = std::get_if<QString>(&opened))
        return std::move(*problem);
    auto screens = X11Connection::open();
    if (!screens)
        return words("There is no X11 desktop to work in.");
    return std::unique_ptr<LinuxDesktop>(new LinuxDesktop(std::move(std::get<std::unique_ptr<X11Desktop>>(opened)),
        std::move(screens), clock, configurationFolder, resourcesFolder));
}

LinuxDesktop::LinuxDesktop(std::unique_ptr<X11Desktop> x11, std::unique_ptr<X11Connection> screens, Clock& clock,
    const QString& configurationFolder, const QString& resourcesFolder)
    : m_clock(clock)
    , m_preferences(configurationFolder + u"/preferences.json"_s, clock)
    , m_x11(std::move(x11))
    , m_accessibility(clock,
          [desktop = m_x11.get()] {
              const auto front = desktop->workspace().frontmostApplication();
              return front ? front->processIdentifier : 0;
          })
    , m_audioCapture(m_sound)
    , m_soundPlayer(m_sound, resourcesFolder + u"/sounds"_s)
    , m_downloader(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/Tallowfern"_s)
    , m_secrets(clock)
    , m_screensConnection(std::move(screens))
    , m_screens(*m_screensConnection)
    , m_floatingPanels(*m_screensConnection)
{
}

PlatformServices LinuxDesktop::services()
{
    return {m_clock, m_preferences, m_x11->pasteboard(), m_x11->workspace(), m_x11->keyPoster(), m_accessibility,
        m_x11->hotKeyCenter(), m_audioCapture, m_soundPlayer, m_processLauncher, m_downloader, m_secrets,
        m_screenCapture, m_notifications};
}

InterfaceServices LinuxDesktop::interfaceServices()
{
    return {m_clock, m_preferences, m_screens, m_floatingPanels, m_appearance};
}

} // namespace tallowfern
