#pragma once

#include "core/CommandStatus.h"
#include "foundation/Clock.h"
#include "foundation/TaskSlot.h"

#include <QCoroTask>

namespace tallowfern {

namespace AgentProgressEstimator {
/// The next step of a bar that moves although the model tells little.
double tick(double progress, AgentPhase phase);
/// After a piece of the answer of `characterCount` characters.
double receivedDelta(double progress, qsizetype characterCount);
} // namespace AgentProgressEstimator

/// Moves Command's progress while a model loads and writes. Main thread.
class CommandProgress {
public:
    CommandProgress(Clock& clock, CommandStatus& status);

    /// Ticks until finish(), or until the phase is another.
    void begin();
    void finish(double value);

private:
    QCoro::Task<> run(std::stop_token stop);

    Clock& m_clock;
    CommandStatus& m_status;
    TaskSlot m_task;
};

} // namespace tallowfern
