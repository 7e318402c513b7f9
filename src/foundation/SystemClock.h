#pragma once

#include "foundation/Clock.h"

#include <QElapsedTimer>
#include <QTimer>

namespace tallowfern {

/// The real time, on the event loop of the thread that made it.
class SystemClock final : public Clock {
public:
    SystemClock();
    ~SystemClock() override;

    double now() const override;
    QDateTime wallNow() const override;

protected:
    void dueChanged() override;

private:
    QElapsedTimer m_elapsed;
    QTimer m_timer;
};

} // namespace tallowfern
