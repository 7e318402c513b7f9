#include "foundation/SystemClock.h"

#include <algorithm>
#include <cmath>

namespace tallowfern {

SystemClock::SystemClock()
{
    m_elapsed.start();
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer); // the coarse kind fires up to 5 % early
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { runDue(); });
}

SystemClock::~SystemClock()
{
    close();
}

double SystemClock::now() const
{
    return static_cast<double>(m_elapsed.nsecsElapsed()) * 1e-9;
}

QDateTime SystemClock::wallNow() const
{
    return QDateTime::currentDateTimeUtc();
}

void SystemClock::dueChanged()
{
    const auto due = nextDue();
    if (!due) {
        m_timer.stop();
        return;
    }
    const double milliseconds = std::ceil(std::max(0.0, *due - now()) * 1000);
    m_timer.start(static_cast<int>(std::min(milliseconds, 1e9)));
}

} // namespace tallowfern
