#include "core/Navigation.h"

namespace tallowfern {

void Navigation::selectSection(AppSection section)
{
    m_selectedSection = section;
    Q_EMIT changed();
}

void Navigation::selectSettings(SettingsArea area)
{
    m_selectedSettingsArea = area;
    selectSection(AppSection::Settings);
}

void Navigation::selectAPIKeys(AgentWritingProvider provider)
{
    m_selectedAPIKeyProvider = provider;
    selectSettings(SettingsArea::Account);
}

void Navigation::bringMainWindowForward()
{
    Q_EMIT mainWindowRequested();
}

} // namespace tallowfern
