#include "delivery/ClipboardRestorer.h"

#include <utility>

namespace tallowfern {

ClipboardRestorer::ClipboardRestorer(
    Pasteboard& pasteboard, Clock& clock, std::function<std::optional<int>()> restoreDelaySeconds)
    : m_pasteboard(pasteboard)
    , m_clock(clock)
    , m_restoreDelaySeconds(std::move(restoreDelaySeconds))
{
}

void ClipboardRestorer::prepareSnapshot()
{
    m_prepared.reset();
    const bool holdsOurDelivery = m_pending && m_pending->changeCount == m_pasteboard.changeCount();
    if (!m_restoreDelaySeconds() || holdsOurDelivery)
        return;
    m_prepared = std::make_shared<PreparedReading>();
    prepare(m_prepared);
}

QCoro::Task<> ClipboardRestorer::prepare(std::shared_ptr<PreparedReading> reading)
{
    const std::stop_token ended = m_lifetime.token();
    const qint64 count = co_await m_pasteboard.settledChangeCount();
    if (ended.stop_requested())
        co_return;
    reading->changeCount = count;
    PasteboardSnapshot snapshot = co_await PasteboardSnapshot::capture(m_pasteboard);
    reading->snapshot.complete(std::move(snapshot));
}

QCoro::Task<PasteboardSnapshot> ClipboardRestorer::takeClipboardSnapshotForRestore()
{
    const bool isOurs = m_pending && m_pending->changeCount == m_pasteboard.changeCount();
    if (!m_restoreDelaySeconds() && !isOurs) {
        m_restore.cancel();
        m_pending.reset();
        co_return PasteboardSnapshot::unread();
    }
    PasteboardSnapshot snapshot = co_await takeSnapshot();
    co_return snapshot;
}

QCoro::Task<PasteboardSnapshot> ClipboardRestorer::takeSnapshot()
{
    const std::stop_token ended = m_lifetime.token();
    m_restore.cancel();
    const auto pending = std::exchange(m_pending, std::nullopt);
    const auto prepared = std::exchange(m_prepared, nullptr);
    const qint64 count = co_await m_pasteboard.settledChangeCount();
    if (ended.stop_requested())
        co_return PasteboardSnapshot::unread();
    if (pending && pending->changeCount == count)
        co_return pending->snapshot;
    PasteboardSnapshot snapshot = co_await read(prepared, count);
    co_return snapshot;
}

QCoro::Task<PasteboardSnapshot> ClipboardRestorer::read(std::shared_ptr<PreparedReading> prepared, qint64 count)
{
    // What the user copies while we read would be lost under the text that is written next, so it is read as well;
    // once, for there are programs that copy all the time.
    constexpr int kReadings = 2;
    const std::stop_token ended = m_lifetime.token();
    PasteboardSnapshot snapshot = PasteboardSnapshot::unread();
    for (int reading = 1; reading <= kReadings; ++reading) {
        if (prepared && prepared->changeCount == count)
            snapshot = co_await prepared->snapshot;
        else
            snapshot = co_await PasteboardSnapshot::capture(m_pasteboard);
        if (ended.stop_requested())
            break;
        const qint64 after = co_await m_pasteboard.settledChangeCount();
        if (ended.stop_requested() || after == count)
            break;
        count = after;
    }
    co_return snapshot;
}

void ClipboardRestorer::scheduleClipboardRestore(PasteboardSnapshot snapshot, qint64 deliveredCount)
{
    if (const std::optional<int> delay = m_restoreDelaySeconds())
        scheduleRestore(std::move(snapshot), deliveredCount, *delay);
}

void ClipboardRestorer::scheduleRestore(PasteboardSnapshot snapshot, qint64 deliveredCount, double seconds)
{
    m_pending = PendingClipboardRestore{std::move(snapshot), deliveredCount};
    m_restore.restart([&](std::stop_token stop) { restoreAfter(seconds, std::move(stop)); });
}

QCoro::Task<> ClipboardRestorer::restoreAfter(double seconds, std::stop_token stop)
{
    co_await m_clock.sleep(seconds, stop);
    if (stop.stop_requested())
        co_return;
    // Still pending during this wait: a delivery that begins now must find the user's clipboard, not our text.
    const qint64 count = co_await m_pasteboard.settledChangeCount();
    if (!stop.stop_requested())
        restoreIfUnchanged(count);
}

void ClipboardRestorer::restoreNow()
{
    m_restore.cancel();
    restoreIfUnchanged(m_pasteboard.changeCount());
}

void ClipboardRestorer::restoreIfUnchanged(qint64 count)
{
    const auto pending = std::exchange(m_pending, std::nullopt);
    if (pending && pending->changeCount == count)
        pending->snapshot.restore(m_pasteboard);
}

} // namespace tallowfern
