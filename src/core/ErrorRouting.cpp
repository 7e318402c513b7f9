#include "core/ErrorRouting.h"

namespace tallowfern {

ErrorRouting::ErrorRouting(OverlayPresenter& overlay, Navigation& navigation)
    : m_overlay(overlay)
    , m_navigation(navigation)
{
}

void ErrorRouting::setErrorResolution(std::optional<ErrorResolution> resolution)
{
    m_errorResolution = std::move(resolution);
    Q_EMIT changed();
}

void ErrorRouting::setPermissionAttention(std::optional<PermissionAttention> attention)
{
    m_permissionAttention = attention;
}

void ErrorRouting::handleOverlayTap()
{
    if (!m_errorResolution)
        return;
    m_overlay.cancelOverlayHide();
    routeToErrorResolution();
    m_overlay.hide();
    if (m_permissionAttention) {
        onPermissionErrorEnded();
        m_permissionAttention.reset();
    }
}

void ErrorRouting::routeToErrorResolution()
{
    if (!m_errorResolution)
        return;
    using Place = ErrorResolutionDestination::Place;
    switch (m_errorResolution->destination.place) {
    case Place::DictationModels:
    case Place::CommandModels:
        m_navigation.selectSection(AppSection::Models);
        break;
    case Place::CommandSettings:
        m_navigation.selectSettings(SettingsArea::Behaviour);
        break;
    case Place::APIKeys:
        m_navigation.selectAPIKeys(m_errorResolution->destination.provider);
        break;
    case Place::Permissions:
        ++m_permissionAttentionRequest;
        Q_EMIT changed();
        m_navigation.selectSettings(SettingsArea::Account);
        break;
    }
    m_navigation.bringMainWindowForward();
}

} // namespace tallowfern
