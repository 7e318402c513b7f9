#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <QByteArray>
#include <QMap>

namespace tallowfern {

class X11SelectionSender;

/// Bytes by the names that are offered to other programs.
using X11SelectionContent = QMap<QString, QByteArray>;

/// One selection, held and served by us while nobody else takes it.
class X11SelectionOwner final : public QObject {
    Q_OBJECT
public:
    X11SelectionOwner(X11Connection& connection, X11SelectionSender& sender, const QString& selection);

    xcb_window_t window() const { return m_window; }
    /// Null when another program holds the selection, or nobody.
    const X11SelectionContent* content() const { return m_owned ? &m_content : nullptr; }

    /// Takes the selection, or empties it if there is no content; in either case one change. The result is the
    /// request's number, which the events that it causes carry.
    quint32 replace(const X11SelectionContent& content);
    /// When the selection was taken, in the server's time, as far as it is known.
    void setTimestamp(xcb_timestamp_t time) { m_timestamp = time; }

private:
    void handleEvent(const xcb_generic_event_t* event);
    void answer(const xcb_selection_request_event_t& request);
    bool convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    bool convertMultiple(xcb_window_t requestor, xcb_atom_t property);
    void sendTargets(xcb_window_t requestor, xcb_atom_t property);

    X11Connection& m_connection;
    X11SelectionSender& m_sender;
    xcb_atom_t m_selection;
    xcb_window_t m_window;
    X11SelectionContent m_content;
    bool m_owned = false;
    quint32 m_lastRequest = 0;
    xcb_timestamp_t m_timestamp = XCB_CURRENT_TIME;
};

/// A plain text under all the names that programs ask for.
X11SelectionContent x11TextContent(const QString& text);

} // namespace tallowfern
