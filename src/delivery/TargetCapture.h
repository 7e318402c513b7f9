#pragma once

#include "platform/Accessibility.h"
#include "platform/Workspace.h"

#include <QString>

#include <optional>

namespace tallowfern {

/// Where the user was when an activity began.
struct AgentTargetSnapshot {
    std::optional<RunningApplication> application; ///< to deliver into
    QString applicationName; ///< empty if unknown
    std::optional<AccessibleElement> focusedElement;
    std::optional<TextRange> selectedRange; ///< of the element, as far as it was asked for
};

/// Answers at once, from state that events keep. The application is the one in front, which is also the owner of the
/// focused element: elements of others do not count as focused.
AgentTargetSnapshot captureTarget(const Workspace& workspace, const Accessibility& accessibility);

} // namespace tallowfern
