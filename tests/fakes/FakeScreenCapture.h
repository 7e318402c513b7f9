#pragma once

#include "foundation/Clock.h"
#include "platform/ScreenCapture.h"

namespace tallowfern {

/// Every window looks the same.
class FakeScreenCapture final : public ScreenCapture {
public:
    explicit FakeScreenCapture(Clock& clock)
        : m_clock(clock)
    {
    }

    bool isAllowed = true;
    std::optional<QByteArray> picture = QByteArray("PNG");
    int questions = 0; ///< to the user
    QList<RunningApplication> captured;

    bool preflight() const override { return isAllowed; }
    void request() override { ++questions; }
    QCoro::Task<std::optional<QByteArray>> captureWindow(RunningApplication application) override
    {
        captured.append(application);
        co_await m_clock.sleep(0.01);
        co_return picture;
    }

private:
    Clock& m_clock;
};

} // namespace tallowfern
