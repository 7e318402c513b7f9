#pragma once

#include "delivery/PasteboardSnapshot.h"
#include "foundation/Clock.h"
#include "foundation/Completion.h"
#include "foundation/Lifetime.h"
#include "foundation/TaskSlot.h"
#include "platform/Pasteboard.h"

#include <QCoroTask>

#include <functional>
#include <memory>
#include <optional>

namespace tallowfern {

/// Gives the user's clipboard back some seconds after a delivery, unless somebody has copied something meanwhile.
/// Any number of deliveries in quick succession keep the clipboard that the user had before the first. One delivery
/// calls: prepare (if it has time to spare), take, writes its text, pastes, schedule. Main thread.
class ClipboardRestorer {
public:
    /// `restoreDelaySeconds` tells the setting at the moment of asking: absent while restoring is switched off.
    ClipboardRestorer(Pasteboard& pasteboard, Clock& clock, std::function<std::optional<int>()> restoreDelaySeconds);

    /// Begins to read the clipboard, so that a slow owner costs nothing later. The reading counts only if the
    /// clipboard is still the same when the snapshot is taken.
    void prepareSnapshot();
    /// What is to be put back after the text that the caller writes next; to be written without a wait in between.
    /// Cancels a pending restore. While restoring is switched off nothing is read and the snapshot is unread.
    QCoro::Task<PasteboardSnapshot> takeClipboardSnapshotForRestore();
    /// The same for what borrows the clipboard for a moment, whatever the setting.
    QCoro::Task<PasteboardSnapshot> takeSnapshot();
    /// `deliveredCount` is the change count with the delivered text on the clipboard: any other count at the end of
    /// the delay means a newer copy, which stays.
    void scheduleClipboardRestore(PasteboardSnapshot snapshot, qint64 deliveredCount);
    /// The same after a time of the caller's own, whatever the setting.
    void scheduleRestore(PasteboardSnapshot snapshot, qint64 deliveredCount, double seconds);
    /// Runs a pending restore at once, for the clipboard's owner is about to end.
    void restoreNow();

private:
    struct PreparedReading {
        std::optional<qint64> changeCount; ///< at which the reading was begun
        Completion<PasteboardSnapshot> snapshot;
    };
    struct PendingClipboardRestore {
        PasteboardSnapshot snapshot;
        qint64 changeCount;
    };

    QCoro::Task<> prepare(std::shared_ptr<PreparedReading> reading);
    QCoro::Task<PasteboardSnapshot> read(std::shared_ptr<PreparedReading> prepared, qint64 count);
    QCoro::Task<> restoreAfter(double seconds, std::stop_token stop);
    void restoreIfUnchanged(qint64 count);

    Pasteboard& m_pasteboard;
    Clock& m_clock;
    std::function<std::optional<int>()> m_restoreDelaySeconds;
    std::shared_ptr<PreparedReading> m_prepared;
    std::optional<PendingClipboardRestore> m_pending;
    TaskSlot m_restore;
    Lifetime m_lifetime;
};

} // namespace tallowfern
