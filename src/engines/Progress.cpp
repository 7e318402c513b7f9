#include "engines/Progress.h"

#include <algorithm>

namespace tallowfern {

namespace {

constexpr double kLoadingPercent = 10;
constexpr double kEncoderShare = 0.6;
constexpr double kMostDecodedShare = 0.95;

} // namespace

Progress::Progress(std::FILE* stream)
    : m_stream(stream)
{
}

void Progress::modelRead(double share)
{
    report(share * kLoadingPercent);
}

void Progress::beginWindow(double shareBefore, double shareWithIt)
{
    m_windowBegin = shareBefore;
    m_windowEnd = shareWithIt;
    reportInWindow(0);
}

void Progress::decoded(double share)
{
    reportInWindow(kEncoderShare + (1 - kEncoderShare) * std::min(share, kMostDecodedShare));
}

void Progress::finished()
{
    report(100);
}

void Progress::reportInWindow(double share)
{
    const double done = m_windowBegin + (m_windowEnd - m_windowBegin) * share;
    report(kLoadingPercent + (100 - kLoadingPercent) * done);
}

void Progress::report(double percent)
{
    const std::lock_guard guard(m_lock);
    const int whole = std::clamp(static_cast<int>(percent), 0, 100);
    if (m_stream == nullptr || whole <= m_lastPercent)
        return;
    m_lastPercent = whole;
    std::fprintf(m_stream, "progress = %3d%%\n", whole);
    std::fflush(m_stream);
}

} // namespace tallowfern
