#pragma once

#include "platform/Pasteboard.h"

#include <QCoroTask>
#include <QList>

namespace tallowfern {

/// All that the clipboard held at one moment, in every type that could be read. A value.
struct PasteboardSnapshot {
    QList<PasteboardItem> items;
    PasteboardReading::Extent extent = PasteboardReading::Extent::Complete;

    /// Takes one second at most; what an owner does not give in time is left out.
    static QCoro::Task<PasteboardSnapshot> capture(Pasteboard& pasteboard);
    /// Content of which nothing is known, so that putting it back changes nothing.
    static PasteboardSnapshot unread();

    /// Replaces the clipboard by the snapshot; one that was empty is empty again. Does nothing if nothing was read.
    void restore(Pasteboard& pasteboard) const;
};

} // namespace tallowfern
