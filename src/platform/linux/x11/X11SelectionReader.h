#pragma once

#include <QDeadlineTimer>
#include <QTimer>

#include "foundation/Completion.h" // after Qt: moc 6.4 stumbles over <coroutine> before it
#include "platform/Pasteboard.h"
#include "platform/linux/x11/X11Connection.h"

#include <list>
#include <memory>
#include <optional>
#include <stop_token>

namespace tallowfern {

/// Reads what another program offers on a selection, without waiting for a program that hangs.
class X11SelectionReader final : public QObject {
    Q_OBJECT
public:
    X11SelectionReader(X11Connection& connection, const QString& selection);
    ~X11SelectionReader() override;

    /// Reads everything that is worth keeping. Each type may take 300 ms without progress, the last one all that is
    /// left of `milliseconds`.
    QCoro::Task<PasteboardReading> readAll(qint64 milliseconds);
    /// The text, if the server says that this process of this machine offers it.
    QCoro::Task<std::optional<QString>> readTextOf(qint64 processIdentifier, qint64 milliseconds);

private:
    struct Answer {
        enum class End { Received, Refused, Missing } end = End::Missing;
        QByteArray bytes;
        int format = 8; ///< bits of one unit
    };
    struct Transfer {
        xcb_atom_t target = XCB_ATOM_NONE;
        xcb_atom_t property = XCB_ATOM_NONE;
        qsizetype room = 0; ///< bytes that may come
        bool isIncremental = false;
        QByteArray bytes;
        qint64 idleMilliseconds = 0;
        QDeadlineTimer deadline;
        QTimer timer; ///< to the earlier of both
        Completion<Answer> answer;

        void madeProgress();
    };
    using TransferPointer = std::shared_ptr<Transfer>;

    Completion<Answer> fetch(const QString& type, qsizetype room, qint64 idleMilliseconds, QDeadlineTimer deadline);
    void handleEvent(const xcb_generic_event_t* event);
    void handleNotify(const xcb_selection_notify_event_t& notify);
    void takeFirst(const TransferPointer& transfer);
    void takePiece(const TransferPointer& transfer);
    void finish(const TransferPointer& transfer, Answer::End end, int format = 8);
    X11Reply<xcb_get_property_reply_t> property(const Transfer& transfer);
    xcb_window_t owner();
    qint64 processOf(xcb_window_t window);
    QStringList typesWorthKeeping(const Answer& targets);

    X11Connection& m_connection;
    xcb_atom_t m_selection;
    xcb_window_t m_window;
    std::list<TransferPointer> m_transfers;
    quint32 m_lastProperty = 0;
    std::stop_source m_stop;
};

} // namespace tallowfern
