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
    std::optional<TextRange> selectedRange; ///< of the element with the focus
    std::optional<QString> text; ///< of the element with the focus
    bool applicationHangs = false;
    bool refusesSelection = false;

    std::optional<AccessibleElement> focusedElement() const override
    {
        const auto front = m_workspace.frontmostApplication();
        const bool ownsActiveWindow = front && focused && front->processIdentifier == focused->processIdentifier;
        return ownsActiveWindow ? focused : std::nullopt;
    }
    QCoro::Task<std::optional<AccessibleElement>> findFocusedElement() override
    {
        const auto found = focusedElement();
        co_await m_clock.sleep(0);
        co_return found;
    }
    QCoro::Task<std::optional<ElementSelection>> selection(AccessibleElement element) override
    {
        std::optional<ElementSelection> answer;
        if (!applicationHangs && focused == element && selectedRange)
            answer = {*selectedRange, text.value_or(QString()).mid(selectedRange->location, selectedRange->length)};
        co_await m_clock.sleep(applicationHangs ? 0.2 : 0);
        co_return answer;
    }
    QCoro::Task<std::optional<QString>> value(AccessibleElement element) override
    {
        const auto answer = !applicationHangs && focused == element ? text : std::nullopt;
        co_await m_clock.sleep(applicationHangs ? 0.2 : 0);
        co_return answer;
    }
    QCoro::Task<bool> select(AccessibleElement element, TextRange range, QString expected) override
    {
        const bool done = !applicationHangs && !refusesSelection && focused == element && text
            && text->mid(range.location, range.length) == expected;
        if (done)
            selectedRange = range;
        co_await m_clock.sleep(applicationHangs ? 0.8 : 0);
        co_return done;
    }

private:
    const FakeWorkspace& m_workspace;
    Clock& m_clock;
};

} // namespace tallowfern
