#include "platform/linux/x11/X11Pasteboard.h"

#include <xcb/xfixes.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kReadMilliseconds = 1000;
constexpr int kHandOverMilliseconds = 2000;

} // namespace

X11Pasteboard::X11Pasteboard(std::unique_ptr<X11Connection> connection)
    : m_connection(std::move(connection))
    , m_sender(*m_connection)
    , m_clipboard(*m_connection, m_sender, u"CLIPBOARD"_s)
    , m_primary(*m_connection, m_sender, u"PRIMARY"_s)
    , m_reader(*m_connection, u"CLIPBOARD"_s)
    , m_primaryReader(*m_connection, u"PRIMARY"_s)
{
    xcb_connection_t* xcb = m_connection->xcb();
    m_connection->take(xcb_xfixes_query_version_reply(xcb, xcb_xfixes_query_version(xcb, 5, 0), nullptr));
    xcb_xfixes_select_selection_input(xcb, m_connection->root(), m_connection->atom(u"CLIPBOARD"_s),
        XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY
            | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    connect(m_connection.get(), &X11Connection::eventReceived, this, &X11Pasteboard::handleEvent);
    m_connection->settle();
}

X11Pasteboard::~X11Pasteboard()
{
    m_stop.request_stop();
    m_handedOver.complete(false);
}

QCoro::Task<qint64> X11Pasteboard::settledChangeCount()
{
    m_connection->settle();
    co_return m_changeCount;
}

QCoro::Task<PasteboardReading> X11Pasteboard::readAll()
{
    const std::stop_token stop = m_stop.get_token();
    const QDeadlineTimer deadline(kReadMilliseconds);
    while (!deadline.hasExpired()) {
        m_connection->settle();
        if (const X11SelectionContent* own = m_clipboard.content())
            co_return PasteboardReading{{*own}, PasteboardReading::Extent::Complete, {}};
        const qint64 count = m_changeCount;
        auto task = m_reader.readAll(deadline.remainingTime());
        PasteboardReading reading = co_await task;
        if (stop.stop_requested())
            break;
        m_connection->settle();
        if (count == m_changeCount) // else it may be a mixture of two contents
            co_return reading;
    }
    co_return PasteboardReading{{}, PasteboardReading::Extent::Unread, {}};
}

QCoro::Task<std::optional<QString>> X11Pasteboard::readText(RunningApplication owner)
{
    return m_reader.readTextOf(owner.processIdentifier, kReadMilliseconds);
}

QCoro::Task<std::optional<QString>> X11Pasteboard::readSelectedText(RunningApplication application)
{
    return m_primaryReader.readTextOf(application.processIdentifier, kReadMilliseconds);
}

void X11Pasteboard::replaceItems(const QList<PasteboardItem>& items)
{
    X11SelectionContent content; // X knows one item only; the first that has a type gives it
    for (auto item = items.crbegin(); item != items.crend(); ++item)
        content.insert(*item);
    replace(content);
}

void X11Pasteboard::replaceText(const QString& text)
{
    replace(x11TextContent(text));
}

void X11Pasteboard::replace(const X11SelectionContent& content)
{
    m_ownRequests.enqueue(m_clipboard.replace(content));
    ++m_changeCount;
    Q_EMIT changed();
}

void X11Pasteboard::offerAsPrimary()
{
    if (const X11SelectionContent* content = m_clipboard.content()) {
        m_primary.replace(*content);
        m_connection->settle();
    }
}

QCoro::Task<> X11Pasteboard::handOver()
{
    m_connection->settle();
    xcb_connection_t* xcb = m_connection->xcb();
    const xcb_atom_t manager = m_connection->atom(u"CLIPBOARD_MANAGER"_s);
    const auto cookie = xcb_get_selection_owner(xcb, manager);
    const auto owner = m_connection->take(xcb_get_selection_owner_reply(xcb, cookie, nullptr));
    if (!m_clipboard.content() || !owner || !owner->owner)
        co_return;
    m_handedOver = {};
    Completion<bool> handedOver = m_handedOver;
    QTimer::singleShot(kHandOverMilliseconds, this, [handedOver]() mutable { handedOver.complete(false); });
    xcb_convert_selection(xcb, m_clipboard.window(), manager, m_connection->atom(u"SAVE_TARGETS"_s),
        m_connection->atom(u"TALLOWFERN_SAVE"_s), XCB_CURRENT_TIME);
    m_connection->flush();
    co_await handedOver;
}

void X11Pasteboard::handleEvent(const xcb_generic_event_t* event)
{
    const auto* xfixes = xcb_get_extension_data(m_connection->xcb(), &xcb_xfixes_id);
    if (x11EventType(event) == XCB_SELECTION_NOTIFY) {
        if (x11Event<xcb_selection_notify_event_t>(event)->requestor == m_clipboard.window())
            m_handedOver.complete(true);
        return;
    }
    if (!xfixes->present || x11EventType(event) != xfixes->first_event + XCB_XFIXES_SELECTION_NOTIFY)
        return;
    const auto* notify = x11Event<xcb_xfixes_selection_notify_event_t>(event);
    // The event that a request of ours caused is the first to carry its number.
    if (!m_ownRequests.isEmpty() && m_ownRequests.head() == event->full_sequence) {
        m_ownRequests.dequeue();
        m_clipboard.setTimestamp(notify->selection_timestamp);
        m_primary.setTimestamp(notify->selection_timestamp);
        return;
    }
    ++m_changeCount;
    Q_EMIT changed();
}

} // namespace tallowfern
