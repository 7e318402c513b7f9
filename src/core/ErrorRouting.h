#pragma once

#include "core/ErrorResolution.h"
#include "core/Navigation.h"
#include "core/OverlayPresenter.h"

#include <QObject>

#include <functional>
#include <optional>

namespace tallowfern {

/// The newest failure and where it leads. Main thread.
class ErrorRouting : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 permissionAttentionRequest READ permissionAttentionRequest NOTIFY changed)
public:
    ErrorRouting(OverlayPresenter& overlay, Navigation& navigation);

    const std::optional<ErrorResolution>& errorResolution() const { return m_errorResolution; }
    const std::optional<PermissionAttention>& permissionAttention() const { return m_permissionAttention; }
    /// Goes up each time the user is led to the permissions.
    qint64 permissionAttentionRequest() const { return m_permissionAttentionRequest; }

    void setErrorResolution(std::optional<ErrorResolution> resolution);
    void setPermissionAttention(std::optional<PermissionAttention> attention);

    /// A click on the overlay: leads to the mend of the failure on it, and takes it away. Nothing without a failure.
    void handleOverlayTap();
    void routeToErrorResolution();

    /// Set once by the owner: returns the session whose permission failure was tapped to idle.
    std::function<void()> onPermissionErrorEnded;

Q_SIGNALS:
    void changed();

private:
    OverlayPresenter& m_overlay;
    Navigation& m_navigation;
    std::optional<ErrorResolution> m_errorResolution;
    std::optional<PermissionAttention> m_permissionAttention;
    qint64 m_permissionAttentionRequest = 0;
};

} // namespace tallowfern
