#pragma once

#include "platform/Workspace.h"

#include <QByteArray>
#include <QCoroTask>

#include <optional>

namespace tallowfern {

/// Pictures of other applications' windows. Main thread.
class ScreenCapture {
public:
    static constexpr int kMostPixels = 4096; ///< of a side; a longer one is scaled down to it, each side apart

    virtual ~ScreenCapture() = default;

    /// Whether pictures may be taken now; answered from state, never waits.
    virtual bool preflight() const = 0;
    /// Asks the user for the permission where this desktop can; returns at once.
    virtual void request() = 0;
    /// The application's window as PNG, in its own pixels, without its frame and the pointer, also where other windows
    /// cover it. Nothing when the window is not on screen or no picture could be had within two seconds.
    virtual QCoro::Task<std::optional<QByteArray>> captureWindow(RunningApplication application) = 0;
};

} // namespace tallowfern
