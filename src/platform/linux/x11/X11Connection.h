#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QStringList>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace tallowfern {

struct X11Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// A reply of the X server; null when it refused the request or is gone.
template <class T>
using X11Reply = std::unique_ptr<T, X11Free>;

/// A connection of our own to the X server, on the event loop of the thread that made it. Errors of single requests
/// (a window that vanished in between) end in null replies and nothing else.
class X11Connection final : public QObject {
    Q_OBJECT
public:
    /// Null when the display that DISPLAY names cannot be reached.
    static std::unique_ptr<X11Connection> open();
    /// Whether it can be; also without an event loop.
    static bool isReachable();
    ~X11Connection() override;

    xcb_connection_t* xcb() const { return m_xcb; }
    xcb_window_t root() const { return m_root; }
    bool isAlive() const { return !xcb_connection_has_error(m_xcb); }
    bool hasExtension(xcb_extension_t* extension) const;

    /// Names are Latin-1 in X; the conversion loses nothing in either direction.
    xcb_atom_t atom(const QString& name);
    QStringList atomNames(const QList<xcb_atom_t>& atoms);

    /// Never shown; lives as long as the connection.
    xcb_window_t createHiddenWindow(quint32 eventMask);
    void selectEvents(xcb_window_t window, quint32 eventMask);

    /// Every reply that was waited for goes through here: events that arrived meanwhile lie in the library's queue,
    /// where the socket no longer tells of them.
    template <class T>
    X11Reply<T> take(T* reply)
    {
        dispatchSoon();
        return X11Reply<T>(reply);
    }
    /// Waits for the request's outcome: 0, or the number of the error.
    int errorOf(xcb_void_cookie_t checkedRequest);
    void flush() { xcb_flush(m_xcb); }
    /// A round trip; everything that the server had sent until then has been handled when this returns.
    void settle();

Q_SIGNALS:
    void eventReceived(const xcb_generic_event_t* event);
    /// The server is gone; nothing works any more.
    void lost();

private:
    X11Connection(xcb_connection_t* xcb, int screen);
    void dispatch();
    void dispatchSoon();

    xcb_connection_t* m_xcb;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    QSocketNotifier m_notifier;
    QHash<QString, xcb_atom_t> m_atoms;
    QHash<xcb_atom_t, QString> m_atomNames;
    bool m_dispatchScheduled = false;
};

/// The kind of an event, whether it came from the server or was sent by another program.
inline int x11EventType(const xcb_generic_event_t* event)
{
    return event->response_type & 0x7f;
}

/// An event of core type `T`; the caller has looked at its kind.
template <class T>
const T* x11Event(const xcb_generic_event_t* event)
{
    return reinterpret_cast<const T*>(event);
}

/// The bytes of a property's value.
QByteArray x11PropertyBytes(const xcb_get_property_reply_t* reply);

} // namespace tallowfern
