#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <QElapsedTimer>

#include <list>

namespace tallowfern {

/// Puts bytes into other programs' windows, large ones piece by piece as the receiver takes them (INCR).
class X11SelectionSender final : public QObject {
    Q_OBJECT
public:
    explicit X11SelectionSender(X11Connection& connection);

    void send(xcb_window_t receiver, xcb_atom_t property, xcb_atom_t type, const QByteArray& bytes);

private:
    struct Transfer {
        xcb_window_t receiver;
        xcb_atom_t property;
        xcb_atom_t type;
        QByteArray bytes; ///< shared with the clipboard; outlives it until the receiver has everything
        qsizetype sent = 0;
        QElapsedTimer sinceTaken;
    };

    void handleEvent(const xcb_generic_event_t* event);
    void sendPiece(xcb_window_t receiver, xcb_atom_t property);
    void forget(xcb_window_t receiver);
    void forgetStalled();

    X11Connection& m_connection;
    std::list<Transfer> m_transfers;
};

} // namespace tallowfern
