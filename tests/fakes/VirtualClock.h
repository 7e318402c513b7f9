#pragma once

#include "foundation/Clock.h"

#include <QTimeZone>

namespace tallowfern {

/// Time that moves only when the test says so.
class VirtualClock final : public Clock {
public:
    ~VirtualClock() override { close(); }

    double now() const override { return m_now; }
    QDateTime wallNow() const override { return m_wall; }

    /// Runs everything that falls due within the next `seconds`, in order, each at its own time.
    void advance(double seconds)
    {
        const double end = m_now + seconds;
        runDue();
        while (nextDue() && *nextDue() <= end) {
            moveTo(std::max(m_now, *nextDue()));
            runDue();
        }
        moveTo(end);
    }
    /// Runs what is due now.
    void settle() { advance(0); }
    /// The calendar jumps; the continuous clock does not.
    void jumpWall(double seconds) { m_wall = m_wall.addMSecs(static_cast<qint64>(seconds * 1000)); }

protected:
    void dueChanged() override { }

private:
    void moveTo(double time)
    {
        jumpWall(time - m_now);
        m_now = time;
    }

    double m_now = 1000;
    QDateTime m_wall = QDateTime(QDate(2026, 1, 15), QTime(9, 0), QTimeZone::utc());
};

} // namespace tallowfern
