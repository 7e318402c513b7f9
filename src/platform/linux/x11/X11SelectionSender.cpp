#include "platform/linux/x11/X11SelectionSender.h"

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kPieceBytes = 512 * qsizetype(1024); // well below what a server takes in one request
constexpr qint64 kStalledMilliseconds = 30'000;

} // namespace

X11SelectionSender::X11SelectionSender(X11Connection& connection)
    : m_connection(connection)
{
    connect(&m_connection, &X11Connection::eventReceived, this, &X11SelectionSender::handleEvent);
}

void X11SelectionSender::send(xcb_window_t receiver, xcb_atom_t property, xcb_atom_t type, const QByteArray& bytes)
{
    xcb_connection_t* xcb = m_connection.xcb();
    if (bytes.size() <= kPieceBytes) {
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, receiver, property, type, 8, static_cast<quint32>(bytes.size()),
            bytes.constData());
        return;
    }
    forgetStalled();
    m_connection.selectEvents(receiver, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    const quint32 size = static_cast<quint32>(bytes.size());
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, receiver, property, m_connection.atom(u"INCR"_s), 32, 1, &size);
    m_transfers.push_back({receiver, property, type, bytes, 0, {}});
    m_transfers.back().sinceTaken.start();
}

void X11SelectionSender::handleEvent(const xcb_generic_event_t* event)
{
    if (x11EventType(event) == XCB_PROPERTY_NOTIFY) {
        const auto* notify = x11Event<xcb_property_notify_event_t>(event);
        if (notify->state == XCB_PROPERTY_DELETE)
            sendPiece(notify->window, notify->atom);
    } else if (x11EventType(event) == XCB_DESTROY_NOTIFY) {
        forget(x11Event<xcb_destroy_notify_event_t>(event)->window);
    }
}

void X11SelectionSender::sendPiece(xcb_window_t receiver, xcb_atom_t property)
{
    const auto transfer = std::find_if(m_transfers.begin(), m_transfers.end(),
        [=](const Transfer& t) { return t.receiver == receiver && t.property == property; });
    if (transfer == m_transfers.end())
        return;
    const qsizetype size = std::min(kPieceBytes, transfer->bytes.size() - transfer->sent);
    xcb_change_property(m_connection.xcb(), XCB_PROP_MODE_REPLACE, receiver, property, transfer->type, 8,
        static_cast<quint32>(size), transfer->bytes.constData() + transfer->sent);
    m_connection.flush();
    transfer->sent += size;
    transfer->sinceTaken.restart();
    if (size > 0)
        return; // an empty piece is the end
    m_transfers.erase(transfer);
    const auto isReceivers = [=](const Transfer& t) { return t.receiver == receiver; };
    if (std::none_of(m_transfers.begin(), m_transfers.end(), isReceivers))
        m_connection.selectEvents(receiver, XCB_EVENT_MASK_NO_EVENT);
}

void X11SelectionSender::forget(xcb_window_t receiver)
{
    m_transfers.remove_if([=](const Transfer& transfer) { return transfer.receiver == receiver; });
}

void X11SelectionSender::forgetStalled()
{
    m_transfers.remove_if(
        [](const Transfer& transfer) { return transfer.sinceTaken.hasExpired(kStalledMilliseconds); });
}

} // namespace tallowfern
