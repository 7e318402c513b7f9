#include "delivery/TargetCapture.h"

namespace tallowfern {

AgentTargetSnapshot captureTarget(const Workspace& workspace, const Accessibility& accessibility)
{
    AgentTargetSnapshot target;
    target.application = workspace.frontmostApplication();
    target.focusedElement = accessibility.focusedElement();
    if (target.application)
        target.applicationName = target.application->localizedName;
    return target;
}

} // namespace tallowfern
