#pragma once

#include "foundation/Clock.h"
#include "runtime/server/Descriptor.h"

#include <QCoroTask>

namespace tallowfern {

/// The lock that a running model server holds, by inheriting the descriptor, until all its memory is given back: a
/// cancelled turn's server may still be dying when the next one is wanted. Waits for it 2.5 s at most, and gives no
/// descriptor then: another program of ours may rightly hold it. Ends early when `stop` is requested.
QCoro::Task<Descriptor> takeServerLock(Clock& clock, std::stop_token stop);

} // namespace tallowfern
