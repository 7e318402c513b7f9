#pragma once

#include "foundation/Clock.h"

#include <QCoroTask>
#include <QObject>

#include <stop_token>

namespace tallowfern {

/// Sleeps until `sender` emits `signal`, for `seconds` at most, and ends on the turn after the signal: what it told
/// may have changed again by then, so the caller looks at the state, not at the fact of waking. Main thread.
template <class Sender, class Signal>
QCoro::Task<> sleepUntilSignal(Clock& clock, double seconds, Sender* sender, Signal signal)
{
    std::stop_source wake;
    QObject context;
    QObject::connect(sender, signal, &context, [wake]() mutable { wake.request_stop(); });
    co_await clock.sleep(seconds, wake.get_token());
}

} // namespace tallowfern
