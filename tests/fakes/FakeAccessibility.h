#pragma once

#include "fakes/FakeWorkspace.h"
#include "platform/Accessibility.h"

namespace tallowfern {

/// One element with the focus at most, and its selection; an application can leave questions unanswered.
class FakeAccessibility final : public Accessibility {
public:
    FakeAccessibility(const FakeWorkspace& workspace, Clock& clock)
        : m_workspace(workspace)
        , m_clock(clock)
    {
    }

    std::optional<AccessibleElement> focused;
    std::optional<TextRange> selection;
    bool applicationHangs = false;

    std::optional<AccessibleElement> focusedElement() const override
    {
        const auto front = m_workspace.frontmostApplication();
        const bool ownsActiveWindow = front && focused && front->processIdentifier == focused->processIdentifier;
        return ownsActiveWindow ? focused : std::nullopt;
    }
    QCoro::Task<std::optional<TextRange>> selectedTextRange(AccessibleElement element) override
    {
        const auto answer = !applicationHangs && focused == element ? selection : std::nullopt;
        co_await m_clock.sleep(applicationHangs ? 0.2 : 0);
        co_return answer;
    }

private:
    const FakeWorkspace& m_workspace;
    Clock& m_clock;
};

} // namespace tallowfern
