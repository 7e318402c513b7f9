#pragma once

#include "core/OverlayPresenter.h"
#include "foundation/Clock.h"
#include "foundation/TaskSlot.h"
#include "speech/SpeechModel.h"

#include <QCoroTask>

namespace tallowfern {

namespace TranscriptionProgressEstimator {
/// The next step of a bar that moves although the engine tells little: slower towards the end, never beyond 0.984.
double tick(double current, SpeechEngine engine);
} // namespace TranscriptionProgressEstimator

/// Moves the progress on the overlay while the words are on their way. Main thread.
class TranscriptionProgress {
public:
    TranscriptionProgress(Clock& clock, OverlayPresenter& overlay);

    /// Shows life at once, then ticks until finish() or fail().
    void begin(SpeechEngine engine);
    /// What the engine says; never moves the bar back, and leaves the last 3 % to the steps after it.
    void report(double fraction);
    void finish();
    void fail();

private:
    QCoro::Task<> run(SpeechEngine engine, std::stop_token stop);

    Clock& m_clock;
    OverlayPresenter& m_overlay;
    TaskSlot m_progressTask;
};

} // namespace tallowfern
