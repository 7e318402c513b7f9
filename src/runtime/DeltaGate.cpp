#include "runtime/DeltaGate.h"

#include <algorithm>

namespace tallowfern {

DeltaGate::DeltaGate(Clock& clock, std::function<void(QString)> emitDelta)
    : m_clock(clock)
    , m_emit(std::move(emitDelta))
{
}

void DeltaGate::push(const QString& piece)
{
    const bool isWaiting = m_hasBegun && !m_held.isEmpty();
    m_held += piece;
    if (!m_hasBegun) {
        const auto first
            = std::find_if(m_held.cbegin(), m_held.cend(), [](QChar character) { return !character.isSpace(); });
        m_held.remove(0, std::distance(m_held.cbegin(), first));
    }
    if (m_held.isEmpty() || isWaiting)
        return;
    const double due = m_latest + kInterval;
    const double now = m_clock.now();
    if (!m_hasBegun || now >= due)
        flush();
    else
        m_flush.restart([&](const std::stop_token& stop) { flushLater(due - now, stop); });
}

void DeltaGate::flush()
{
    m_flush.cancel();
    if (m_held.isEmpty())
        return;
    m_hasBegun = true;
    m_latest = m_clock.now();
    m_emit(std::exchange(m_held, {}));
}

QCoro::Task<> DeltaGate::flushLater(double seconds, std::stop_token stop)
{
    co_await m_clock.sleep(seconds, stop);
    if (!stop.stop_requested())
        flush();
}

} // namespace tallowfern
