#pragma once

#include <QObject>

#include "foundation/BackgroundQueue.h"
#include "platform/ScreenCapture.h"

namespace tallowfern {

/// Pictures of windows as the X server keeps them. X asks nobody for a permission.
class X11ScreenCapture final : public ScreenCapture {
public:
    bool preflight() const override { return true; }
    void request() override { }
    QCoro::Task<std::optional<QByteArray>> captureWindow(RunningApplication application) override;

private:
    QObject m_timers; ///< end with this object
    BackgroundQueue m_queue;
};

} // namespace tallowfern
