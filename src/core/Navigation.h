#pragma once

#include "agent/AgentSettings.h"
#include "foundation/EnumStrings.h"

#include <QObject>

namespace tallowfern {

enum class AppSection { Home, History, Models, Settings };
inline constexpr auto enumStrings(AppSection)
{
    return std::array{EnumString{AppSection::Home, "home"}, EnumString{AppSection::History, "history"},
        EnumString{AppSection::Models, "models"}, EnumString{AppSection::Settings, "settings"}};
}

enum class SettingsArea { Shortcuts, Behaviour, Account };
inline constexpr auto enumStrings(SettingsArea)
{
    return std::array{EnumString{SettingsArea::Shortcuts, "shortcuts"},
        EnumString{SettingsArea::Behaviour, "behaviour"}, EnumString{SettingsArea::Account, "account"}};
}

/// The place in the main window where the user is, or should be led. Main thread.
class Navigation : public QObject {
    Q_OBJECT
public:
    AppSection selectedSection() const { return m_selectedSection; }
    SettingsArea selectedSettingsArea() const { return m_selectedSettingsArea; }
    AgentWritingProvider selectedAPIKeyProvider() const { return m_selectedAPIKeyProvider; }

    void selectSection(AppSection section);
    void selectSettings(SettingsArea area);
    void selectAPIKeys(AgentWritingProvider provider);
    /// Asks whoever shows the main window to bring it to front.
    void bringMainWindowForward();

Q_SIGNALS:
    void changed();
    void mainWindowRequested();

private:
    AppSection m_selectedSection = AppSection::Home;
    SettingsArea m_selectedSettingsArea = SettingsArea::Shortcuts;
    AgentWritingProvider m_selectedAPIKeyProvider = AgentWritingProvider::OpenAI;
};

} // namespace tallowfern
