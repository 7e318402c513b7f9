#include "delivery/TargetCapture.h"
#include "fakes/Desk.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;

TEST(TargetCapture, IsTheWindowInFrontAndItsOwnFocusedElement)
{
    Desk desk;
    const AgentTargetSnapshot nothing = captureTarget(desk.windows, desk.accessibility);
    EXPECT_FALSE(nothing.application || nothing.focusedElement);
    EXPECT_EQ(nothing.applicationName, QString());

    const RunningApplication editor = desk.windows.open(u"Editor"_s);
    desk.accessibility.focused = AccessibleElement{u":1.5"_s, u"/text"_s, editor.processIdentifier};
    const AgentTargetSnapshot target = captureTarget(desk.windows, desk.accessibility);
    EXPECT_EQ(target.application, editor);
    EXPECT_EQ(target.applicationName, u"Editor"_s);
    EXPECT_EQ(target.focusedElement, desk.accessibility.focused);

    const RunningApplication other = desk.windows.open(u"Other"_s); // tells nothing of its elements
    const AgentTargetSnapshot silent = captureTarget(desk.windows, desk.accessibility);
    EXPECT_EQ(silent.application, other);
    EXPECT_FALSE(silent.focusedElement);
}

} // namespace
} // namespace tallowfern
