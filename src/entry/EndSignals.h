#pragma once

#include <QObject>

#include <functional>

namespace tallowfern {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main loop, so that the application ends in order. One per
/// process.
class EndSignals : public QObject {
    Q_OBJECT
public:
    explicit EndSignals(std::function<void()> onEnd);
    ~EndSignals() override;

private:
    int m_sockets[2];
};

} // namespace tallowfern
