#include "core/CommandProgress.h"

#include <algorithm>

namespace tallowfern {

namespace {
constexpr double kTickSeconds = 0.18;
constexpr double kFirst = 0.04;
constexpr double kMostLoading = 0.32;
constexpr double kMostWriting = 0.98;
} // namespace

double AgentProgressEstimator::tick(double progress, AgentPhase phase)
{
    if (phase == AgentPhase::LoadingModel)
        return std::min(progress + std::max((kMostLoading - progress) * 0.05, 0.004), kMostLoading);
    if (phase != AgentPhase::Generating)
        return progress;
    const double rest = kMostWriting - progress;
    const double step = progress < 0.9 ? std::max(rest * 0.018, 0.002) : std::max(rest * 0.01, 0.0005);
    return std::min(progress + step, kMostWriting);
}

double AgentProgressEstimator::receivedDelta(double progress, qsizetype characterCount)
{
    const double step = std::clamp(double(characterCount) * 0.0004, 0.002, 0.012);
    return std::min(std::max(progress, 0.4) + step, kMostWriting);
}

CommandProgress::CommandProgress(Clock& clock, CommandStatus& status)
    : m_clock(clock)
    , m_status(status)
{
}

void CommandProgress::begin()
{
    m_status.change([](CommandStatus::Values& values) { values.progress = kFirst; });
    m_task.restart([this](std::stop_token stop) { run(std::move(stop)); });
}

void CommandProgress::finish(double value)
{
    m_task.cancel();
    m_status.change([value](CommandStatus::Values& values) { values.progress = value; });
}

QCoro::Task<> CommandProgress::run(std::stop_token stop)
{
    while (true) {
        co_await m_clock.sleep(kTickSeconds, stop);
        if (stop.stop_requested())
            co_return;
        const AgentPhase phase = m_status.agentPhase();
        if (phase != AgentPhase::LoadingModel && phase != AgentPhase::Generating)
            co_return;
        m_status.change([&](CommandStatus::Values& values) {
            values.progress = AgentProgressEstimator::tick(values.progress, phase);
        });
    }
}

} // namespace tallowfern
