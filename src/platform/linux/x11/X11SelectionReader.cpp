#include "platform/linux/x11/X11SelectionReader.h"

#include <algorithm>
#include <xcb/res.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kIdleMilliseconds = 300;
constexpr qsizetype kMostBytes = 64 * qsizetype(1024 * 1024);
constexpr quint32 kPropertyNames = 32;

/// Answers about the clipboard itself, pictures that only mean something inside their program, and text in the
/// encodings of old, which is offered in better ones as well.
const QStringList kSkipped = {u"TARGETS"_s, u"MULTIPLE"_s, u"TIMESTAMP"_s, u"SAVE_TARGETS"_s, u"DELETE"_s,
    u"INSERT_SELECTION"_s, u"INSERT_PROPERTY"_s, u"GTK_TEXT_BUFFER_CONTENTS"_s, u"application/x-qt-image"_s,
    u"COMPOUND_TEXT"_s, u"TEXT"_s, u"PIXMAP"_s, u"BITMAP"_s, u"COLORMAP"_s};

bool isImage(const QString& type)
{
    return type.startsWith(u"image/");
}

} // namespace

X11SelectionReader::X11SelectionReader(X11Connection& connection, const QString& selection)
    : m_connection(connection)
    , m_selection(connection.atom(selection))
    , m_window(connection.createHiddenWindow(XCB_EVENT_MASK_PROPERTY_CHANGE))
{
    connect(&m_connection, &X11Connection::eventReceived, this, &X11SelectionReader::handleEvent);
}

X11SelectionReader::~X11SelectionReader()
{
    m_stop.request_stop();
    for (const TransferPointer& transfer : std::exchange(m_transfers, {}))
        transfer->answer.complete({});
}

QCoro::Task<PasteboardReading> X11SelectionReader::readAll(qint64 milliseconds)
{
    const std::stop_token stop = m_stop.get_token();
    const QDeadlineTimer deadline(milliseconds);
    PasteboardReading reading;
    if (!owner())
        co_return reading;

    reading.extent = PasteboardReading::Extent::Unread;
    Completion<Answer> offered = fetch(u"TARGETS"_s, kMostBytes, kIdleMilliseconds, deadline);
    const Answer targets = co_await offered;
    if (stop.stop_requested() || targets.end == Answer::End::Missing)
        co_return reading;

    PasteboardItem item;
    qsizetype room = kMostBytes;
    const QStringList types = typesWorthKeeping(targets);
    for (const QString& type : types) {
        const bool isLast = &type == &types.last();
        Completion<Answer> pending = fetch(type, room, isLast ? milliseconds : kIdleMilliseconds, deadline);
        const Answer answer = co_await pending;
        if (stop.stop_requested())
            co_return reading;
        if (answer.end == Answer::End::Missing) {
            reading.missing.append(type);
        } else if (answer.end == Answer::End::Received && answer.format == 8) {
            item.insert(type, answer.bytes);
            room -= answer.bytes.size();
        }
    }
    if (item.isEmpty())
        co_return reading;
    reading.items.append(item);
    const bool complete = reading.missing.isEmpty();
    reading.extent = complete ? PasteboardReading::Extent::Complete : PasteboardReading::Extent::Partial;
    co_return reading;
}

QCoro::Task<std::optional<QString>> X11SelectionReader::readTextOf(qint64 processIdentifier, qint64 milliseconds)
{
    const std::stop_token stop = m_stop.get_token();
    const xcb_window_t before = owner();
    if (!before || !processIdentifier || processOf(before) != processIdentifier)
        co_return std::nullopt;
    Completion<Answer> pending = fetch(u"UTF8_STRING"_s, kMostBytes, milliseconds, QDeadlineTimer(milliseconds));
    const Answer answer = co_await pending;
    if (stop.stop_requested() || answer.end != Answer::End::Received || answer.format != 8)
        co_return std::nullopt;
    if (owner() != before) // the answer may be another process's
        co_return std::nullopt;
    co_return QString::fromUtf8(answer.bytes);
}

xcb_window_t X11SelectionReader::owner()
{
    xcb_connection_t* xcb = m_connection.xcb();
    const auto cookie = xcb_get_selection_owner(xcb, m_selection);
    const auto reply = m_connection.take(xcb_get_selection_owner_reply(xcb, cookie, nullptr));
    return reply ? reply->owner : xcb_window_t(XCB_WINDOW_NONE);
}

/// As the server sees its client, whatever the window says of itself; 0 when it does not tell.
qint64 X11SelectionReader::processOf(xcb_window_t window)
{
    if (!m_connection.hasExtension(&xcb_res_id))
        return 0;
    xcb_connection_t* xcb = m_connection.xcb();
    const xcb_res_client_id_spec_t question = {window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto cookie = xcb_res_query_client_ids(xcb, 1, &question);
    const auto reply = m_connection.take(xcb_res_query_client_ids_reply(xcb, cookie, nullptr));
    if (!reply)
        return 0;
    for (auto ids = xcb_res_query_client_ids_ids_iterator(reply.get()); ids.rem; xcb_res_client_id_value_next(&ids)) {
        const bool isProcess = ids.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID;
        if (isProcess && xcb_res_client_id_value_value_length(ids.data) == 1)
            return *xcb_res_client_id_value_value(ids.data);
    }
    return 0;
}

QStringList X11SelectionReader::typesWorthKeeping(const Answer& targets)
{
    if (targets.end == Answer::End::Refused || targets.format != 32)
        return {u"UTF8_STRING"_s, u"STRING"_s}; // an owner of the oldest kind
    const auto* atoms = reinterpret_cast<const xcb_atom_t*>(targets.bytes.constData());
    const qsizetype count = targets.bytes.size() / qsizetype(sizeof(xcb_atom_t));
    QStringList types = m_connection.atomNames(QList<xcb_atom_t>(atoms, atoms + count));
    types.removeDuplicates();
    const bool hasPng = types.contains(u"image/png"_s);
    types.removeIf([hasPng](const QString& type) {
        return kSkipped.contains(type) || (hasPng && isImage(type) && type != u"image/png");
    });
    // Owners make pictures when asked, which takes long; the rest is safe before that.
    std::stable_partition(types.begin(), types.end(), [](const QString& type) { return !isImage(type); });
    return types;
}

void X11SelectionReader::Transfer::madeProgress()
{
    timer.start(int(std::min(idleMilliseconds, deadline.remainingTime())));
}

Completion<X11SelectionReader::Answer> X11SelectionReader::fetch(
    const QString& type, qsizetype room, qint64 idleMilliseconds, QDeadlineTimer deadline)
{
    const auto transfer = std::make_shared<Transfer>();
    if (deadline.hasExpired()) {
        transfer->answer.complete({});
        return transfer->answer;
    }
    transfer->target = m_connection.atom(type);
    // Each request has a property of its own, so that a late answer is not taken for that of the next request.
    transfer->property = m_connection.atom(u"TALLOWFERN_%1"_s.arg(m_lastProperty++ % kPropertyNames));
    transfer->room = room;
    transfer->idleMilliseconds = idleMilliseconds;
    transfer->deadline = deadline;
    transfer->timer.setSingleShot(true);
    const auto timedOut = [this, weak = std::weak_ptr(transfer)] {
        m_connection.settle(); // we may be the ones who are late
        const TransferPointer late = weak.lock();
        if (late && !late->timer.isActive())
            finish(late, Answer::End::Missing);
    };
    connect(&transfer->timer, &QTimer::timeout, this, timedOut);
    transfer->madeProgress();
    m_transfers.push_back(transfer);
    xcb_connection_t* xcb = m_connection.xcb();
    xcb_delete_property(xcb, m_window, transfer->property);
    xcb_convert_selection(xcb, m_window, m_selection, transfer->target, transfer->property, XCB_CURRENT_TIME);
    m_connection.flush();
    return transfer->answer;
}

void X11SelectionReader::handleEvent(const xcb_generic_event_t* event)
{
    if (x11EventType(event) == XCB_SELECTION_NOTIFY) {
        const auto* notify = x11Event<xcb_selection_notify_event_t>(event);
        if (notify->requestor == m_window && notify->selection == m_selection)
            handleNotify(*notify);
    } else if (x11EventType(event) == XCB_PROPERTY_NOTIFY) {
        const auto* notify = x11Event<xcb_property_notify_event_t>(event);
        if (notify->window != m_window || notify->state != XCB_PROPERTY_NEW_VALUE)
            return;
        for (const TransferPointer& transfer : std::list(m_transfers)) {
            if (transfer->isIncremental && transfer->property == notify->atom)
                takePiece(transfer);
        }
    }
}

void X11SelectionReader::handleNotify(const xcb_selection_notify_event_t& notify)
{
    for (const TransferPointer& transfer : std::list(m_transfers)) {
        if (notify.target != transfer->target || transfer->isIncremental)
            continue;
        if (notify.property == XCB_ATOM_NONE)
            return finish(transfer, Answer::End::Refused);
        if (notify.property == transfer->property)
            return takeFirst(transfer);
    }
    if (notify.property) // too late
        xcb_delete_property(m_connection.xcb(), m_window, notify.property);
}

X11Reply<xcb_get_property_reply_t> X11SelectionReader::property(const Transfer& transfer)
{
    xcb_connection_t* xcb = m_connection.xcb();
    const qsizetype room = transfer.room - transfer.bytes.size();
    const auto cookie = xcb_get_property(
        xcb, false, m_window, transfer.property, XCB_GET_PROPERTY_TYPE_ANY, 0, static_cast<quint32>(room / 4 + 1));
    auto reply = m_connection.take(xcb_get_property_reply(xcb, cookie, nullptr));
    // The owner takes this as the word to send the next piece.
    xcb_delete_property(xcb, m_window, transfer.property);
    m_connection.flush();
    return reply;
}

void X11SelectionReader::takeFirst(const TransferPointer& transfer)
{
    transfer->madeProgress();
    const auto reply = property(*transfer);
    if (reply && reply->type == m_connection.atom(u"INCR"_s)) {
        transfer->isIncremental = true;
        const auto* size = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
        if (reply->value_len > 0 && *size > transfer->room)
            finish(transfer, Answer::End::Missing);
        return;
    }
    if (!reply || reply->bytes_after > 0)
        return finish(transfer, Answer::End::Missing);
    transfer->bytes = x11PropertyBytes(reply.get());
    finish(transfer, Answer::End::Received, reply->format);
}

void X11SelectionReader::takePiece(const TransferPointer& transfer)
{
    transfer->madeProgress();
    const auto reply = property(*transfer);
    if (!reply || reply->bytes_after > 0)
        return finish(transfer, Answer::End::Missing);
    if (xcb_get_property_value_length(reply.get()) == 0)
        return finish(transfer, Answer::End::Received, reply->format);
    transfer->bytes += x11PropertyBytes(reply.get());
}

void X11SelectionReader::finish(const TransferPointer& transfer, Answer::End end, int format)
{
    transfer->timer.stop();
    m_transfers.remove(transfer);
    transfer->answer.complete({end, std::exchange(transfer->bytes, {}), format});
}

} // namespace tallowfern
