#pragma once

#include "foundation/Clock.h"
#include "foundation/TaskSlot.h"

#include <QCoroTask>
#include <QString>

#include <functional>

namespace tallowfern {

/// Lets the pieces of an answer through, at most one every kInterval: the first at once, a piece after a quiet while at
/// once too, and what comes in between together. White space before the first word is held back.
class DeltaGate {
public:
    static constexpr double kInterval = 1.0 / 30; ///< seconds

    DeltaGate(Clock& clock, std::function<void(QString)> emitDelta);

    void push(const QString& piece);
    /// Whatever is still held, at once.
    void flush();

private:
    QCoro::Task<> flushLater(double seconds, std::stop_token stop);

    Clock& m_clock;
    std::function<void(QString)> m_emit;
    QString m_held;
    bool m_hasBegun = false;
    double m_latest = 0; ///< when a delta went out, if one did
    TaskSlot m_flush;
};

} // namespace tallowfern
