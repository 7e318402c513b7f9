#include "platform/linux/x11/X11SelectionOwner.h"

#include "platform/linux/x11/X11SelectionSender.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

X11SelectionOwner::X11SelectionOwner(X11Connection& connection, X11SelectionSender& sender, const QString& selection)
    : m_connection(connection)
    , m_sender(sender)
    , m_selection(connection.atom(selection))
    , m_window(connection.createHiddenWindow(XCB_EVENT_MASK_NO_EVENT))
{
    connect(&m_connection, &X11Connection::eventReceived, this, &X11SelectionOwner::handleEvent);
}

quint32 X11SelectionOwner::replace(const X11SelectionContent& content)
{
    m_content = content;
    m_owned = !content.isEmpty();
    const xcb_window_t owner = m_owned ? m_window : xcb_window_t(XCB_WINDOW_NONE);
    m_lastRequest = xcb_set_selection_owner(m_connection.xcb(), owner, m_selection, XCB_CURRENT_TIME).sequence;
    m_connection.flush();
    return m_lastRequest;
}

void X11SelectionOwner::handleEvent(const xcb_generic_event_t* event)
{
    if (x11EventType(event) == XCB_SELECTION_REQUEST) {
        const auto* request = x11Event<xcb_selection_request_event_t>(event);
        if (request->owner == m_window && request->selection == m_selection)
            answer(*request);
    } else if (x11EventType(event) == XCB_SELECTION_CLEAR) {
        const auto* clear = x11Event<xcb_selection_clear_event_t>(event);
        const bool isStale = static_cast<qint32>(event->full_sequence - m_lastRequest) < 0; // taken again since
        if (clear->owner != m_window || clear->selection != m_selection || isStale)
            return;
        m_owned = false;
        m_content.clear();
    }
}

void X11SelectionOwner::answer(const xcb_selection_request_event_t& request)
{
    xcb_selection_notify_event_t notify{};
    notify.response_type = XCB_SELECTION_NOTIFY;
    notify.time = request.time;
    notify.requestor = request.requestor;
    notify.selection = request.selection;
    notify.target = request.target;
    // Programs from before the rules name no property.
    const xcb_atom_t property = request.property ? request.property : request.target;
    if (convert(request.requestor, request.target, property))
        notify.property = property;
    xcb_send_event(
        m_connection.xcb(), false, request.requestor, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&notify));
    m_connection.flush();
}

bool X11SelectionOwner::convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property)
{
    if (!m_owned)
        return false;
    const QString name = m_connection.atomNames({target}).value(0);
    if (name == u"TARGETS") {
        sendTargets(requestor, property);
        return true;
    }
    if (name == u"TIMESTAMP") {
        xcb_change_property(
            m_connection.xcb(), XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_INTEGER, 32, 1, &m_timestamp);
        return true;
    }
    if (name == u"MULTIPLE")
        return convertMultiple(requestor, property);
    const auto bytes = m_content.constFind(name);
    if (bytes == m_content.cend())
        return false;
    // TEXT asks for any encoding; ours is told by the type.
    m_sender.send(requestor, property, name == u"TEXT" ? m_connection.atom(u"UTF8_STRING"_s) : target, *bytes);
    return true;
}

bool X11SelectionOwner::convertMultiple(xcb_window_t requestor, xcb_atom_t property)
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto cookie = xcb_get_property(xcb, false, requestor, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1024);
    const auto reply = m_connection.take(xcb_get_property_reply(xcb, cookie, nullptr));
    if (!reply || reply->format != 32)
        return false;
    const auto* atoms = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    QList<xcb_atom_t> pairs(atoms, atoms + reply->value_len); // target, property, target, property …
    const xcb_atom_t multiple = m_connection.atom(u"MULTIPLE"_s);
    for (qsizetype i = 0; i + 1 < pairs.size(); i += 2) {
        if (pairs[i] == multiple || !convert(requestor, pairs[i], pairs[i + 1]))
            pairs[i + 1] = XCB_ATOM_NONE;
    }
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, requestor, property, reply->type, 32,
        static_cast<quint32>(pairs.size()), pairs.constData());
    return true;
}

void X11SelectionOwner::sendTargets(xcb_window_t requestor, xcb_atom_t property)
{
    QStringList names = {u"TARGETS"_s, u"TIMESTAMP"_s, u"MULTIPLE"_s};
    names += m_content.keys();
    QList<xcb_atom_t> atoms;
    for (const QString& name : names)
        atoms.append(m_connection.atom(name));
    xcb_change_property(m_connection.xcb(), XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_ATOM, 32,
        static_cast<quint32>(atoms.size()), atoms.constData());
}

X11SelectionContent x11TextContent(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    return {{u"UTF8_STRING"_s, utf8}, {u"TEXT"_s, utf8}, {u"STRING"_s, text.toLatin1()},
        {u"text/plain;charset=utf-8"_s, utf8}, {u"text/plain"_s, utf8}};
}

} // namespace tallowfern
