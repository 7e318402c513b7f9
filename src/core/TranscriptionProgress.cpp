#include "core/TranscriptionProgress.h"

#include <algorithm>

namespace tallowfern {

double TranscriptionProgressEstimator::tick(double current, SpeechEngine engine)
{
    struct Pace {
        double share; // of what remains
        double least;
    };
    constexpr double kEnd = 0.984;
    const bool parakeet = engine == SpeechEngine::Parakeet;
    const Pace pace = current < 0.9 ? (parakeet ? Pace{0.075, 0.012} : Pace{0.035, 0.006})
                                    : (parakeet ? Pace{0.01, 0.0008} : Pace{0.01, 0.0005});
    return std::min(kEnd, current + std::max((kEnd - current) * pace.share, pace.least));
}

TranscriptionProgress::TranscriptionProgress(Clock& clock, OverlayPresenter& overlay)
    : m_clock(clock)
    , m_overlay(overlay)
{
}

void TranscriptionProgress::begin(SpeechEngine engine)
{
    m_overlay.setTranscriptionProgress(0.03);
    m_progressTask.restart([&](std::stop_token stop) { run(engine, std::move(stop)); });
}

QCoro::Task<> TranscriptionProgress::run(SpeechEngine engine, std::stop_token stop)
{
    while (true) {
        co_await m_clock.sleep(0.18, stop);
        if (stop.stop_requested())
            co_return;
        m_overlay.setTranscriptionProgress(
            TranscriptionProgressEstimator::tick(m_overlay.transcriptionProgress(), engine));
    }
}

void TranscriptionProgress::report(double fraction)
{
    m_overlay.setTranscriptionProgress(std::max(m_overlay.transcriptionProgress(), std::min(fraction, 0.97)));
}

void TranscriptionProgress::finish()
{
    m_progressTask.cancel();
    m_overlay.setTranscriptionProgress(1);
}

void TranscriptionProgress::fail()
{
    m_progressTask.cancel();
    m_overlay.setTranscriptionProgress(0);
}

} // namespace tallowfern
