#pragma once

#include "fakes/FakePasteboard.h"
#include "fakes/FakeWorkspace.h"
#include "platform/KeyPoster.h"

#include <algorithm>

namespace tallowfern {

/// A posted paste inserts what is on the clipboard when the window in front comes to read it. Like the desktop's, it
/// posts nothing while another program's copy is on the clipboard.
class FakeKeyPoster final : public KeyPoster {
public:
    FakeKeyPoster(FakeWorkspace& workspace, FakePasteboard& pasteboard, Clock& clock)
        : m_workspace(workspace)
        , m_pasteboard(pasteboard)
        , m_clock(clock)
    {
    }

    bool canPostChords = true;
    double modifiersHeldSeconds = 0; ///< for which the user keeps the hot key down
    double targetReadsAfter = 0.05; ///< seconds from the chord to the window's reading of the clipboard
    QList<RunningApplication> pastes; ///< posted so far
    std::optional<QString> selectedText; ///< what a copy chord brings; nothing: the application ignores it
    double targetCopiesAfter = 0.05;
    bool hasCopyChord = true; ///< of the application in front
    int copies = 0; ///< posted so far

    bool canPost() const override { return canPostChords; }
    QCoro::Task<bool> paste(RunningApplication target) override
    {
        const std::stop_token ended = m_lifetime.token();
        co_await m_clock.sleep(std::min(modifiersHeldSeconds, 1.0));
        if (ended.stop_requested() || m_workspace.frontmostApplication() != target || !m_pasteboard.isOurs())
            co_return false;
        pastes.append(target);
        insertLater(target);
        co_return true;
    }
    QCoro::Task<bool> copy(RunningApplication target) override
    {
        const std::stop_token ended = m_lifetime.token();
        co_await m_clock.sleep(std::min(modifiersHeldSeconds, 1.0));
        if (ended.stop_requested() || m_workspace.frontmostApplication() != target || !hasCopyChord)
            co_return false;
        ++copies;
        if (selectedText)
            copyLater(target);
        co_return true;
    }

private:
    QCoro::Task<> copyLater(RunningApplication target)
    {
        const std::stop_token ended = m_lifetime.token();
        co_await m_clock.sleep(targetCopiesAfter);
        if (!ended.stop_requested())
            m_pasteboard.applicationCopies(target, *selectedText);
    }
    QCoro::Task<> insertLater(RunningApplication target)
    {
        const std::stop_token ended = m_lifetime.token();
        co_await m_clock.sleep(targetReadsAfter);
        if (!ended.stop_requested())
            m_workspace.insert(target, m_pasteboard.text());
    }

    FakeWorkspace& m_workspace;
    FakePasteboard& m_pasteboard;
    Clock& m_clock;
    Lifetime m_lifetime;
};

} // namespace tallowfern
