#pragma once

#include "fakes/FakeAccessibility.h"
#include "fakes/FakeHotKeyCenter.h"
#include "fakes/FakeKeyPoster.h"
#include "fakes/FakePasteboard.h"
#include "fakes/FakeWorkspace.h"
#include "fakes/VirtualClock.h"

#include <functional>

namespace tallowfern {

/// Clipboard, windows, keys and clock that agree with each other, and a user who does things meanwhile.
class Desk {
public:
    VirtualClock clock;
    FakePasteboard clipboard{clock};
    FakeWorkspace windows{clock};
    FakeKeyPoster keys{windows, clipboard, clock};
    FakeAccessibility accessibility{windows, clock};
    FakeHotKeyCenter hotKeys;

    /// Somebody does something `seconds` from now.
    QCoro::Task<> after(double seconds, std::function<void()> action)
    {
        const std::stop_token ended = m_lifetime.token();
        co_await clock.sleep(seconds);
        if (!ended.stop_requested())
            action();
    }

private:
    Lifetime m_lifetime;
};

} // namespace tallowfern
