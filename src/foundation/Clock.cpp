#include "foundation/Clock.h"

#include <algorithm>

namespace tallowfern {

Clock::~Clock() = default;

bool Clock::Sleep::await_ready() const
{
    return m_sleeper->clock->m_closed || m_sleeper->stop.stop_requested();
}

void Clock::Sleep::await_suspend(std::coroutine_handle<> handle)
{
    Clock* clock = m_sleeper->clock;
    m_sleeper->handle = handle;
    clock->insert(m_sleeper, clock->now() + m_sleeper->seconds);
    if (!m_sleeper->stop.stop_possible())
        return;
    // The weak reference matters: the callback lives in the sleeper.
    m_sleeper->onStop.emplace(m_sleeper->stop, [clock, weak = std::weak_ptr(m_sleeper)] {
        const auto sleeper = weak.lock();
        if (sleeper && clock->m_sleepers.erase(sleeper->key))
            clock->insert(sleeper, clock->now());
    });
}

Clock::Sleep Clock::sleep(double seconds, std::stop_token stop)
{
    Sleep result;
    result.m_sleeper = std::make_shared<Sleeper>();
    result.m_sleeper->clock = this;
    result.m_sleeper->seconds = std::max(seconds, 0.0);
    result.m_sleeper->stop = std::move(stop);
    return result;
}

void Clock::insert(const std::shared_ptr<Sleeper>& sleeper, double due)
{
    sleeper->key = {due, m_nextNumber++};
    m_sleepers.emplace(sleeper->key, sleeper);
    dueChanged();
}

std::optional<double> Clock::nextDue() const
{
    if (m_sleepers.empty())
        return std::nullopt;
    return m_sleepers.begin()->first.first;
}

void Clock::runDue()
{
    while (!m_sleepers.empty() && m_sleepers.begin()->first.first <= now())
        resumeFirst();
    dueChanged();
}

void Clock::resumeFirst()
{
    const auto sleeper = m_sleepers.begin()->second;
    m_sleepers.erase(m_sleepers.begin());
    sleeper->onStop.reset();
    sleeper->handle.resume();
}

void Clock::close()
{
    m_closed = true;
    while (!m_sleepers.empty())
        resumeFirst();
}

} // namespace tallowfern
