#pragma once

#include <QTimer>

#include "foundation/Completion.h" // after Qt: moc 6.4 stumbles over <coroutine> before it
#include "platform/linux/x11/X11Connection.h"

#include <vector>

namespace tallowfern {

/// The keys that are down, whoever holds them and whoever grabs them.
class X11HeldKeys final : public QObject {
    Q_OBJECT
public:
    explicit X11HeldKeys(X11Connection& connection);
    ~X11HeldKeys() override;

    /// Completes when no key is down any more, after one second at most, and when this object goes.
    Completion<bool> released();
    std::vector<xcb_keycode_t> now();

private:
    void listen(bool on);
    void handleEvent(const xcb_generic_event_t* event);
    void finish();

    X11Connection& m_connection;
    Completion<bool> m_released;
    bool m_isWaiting = false;
    QTimer m_deadline;
};

} // namespace tallowfern
