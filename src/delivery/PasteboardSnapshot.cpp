#include "delivery/PasteboardSnapshot.h"

namespace tallowfern {

QCoro::Task<PasteboardSnapshot> PasteboardSnapshot::capture(Pasteboard& pasteboard)
{
    const PasteboardReading reading = co_await pasteboard.readAll();
    co_return {reading.items, reading.extent};
}

PasteboardSnapshot PasteboardSnapshot::unread()
{
    return {{}, PasteboardReading::Extent::Unread};
}

void PasteboardSnapshot::restore(Pasteboard& pasteboard) const
{
    if (extent != PasteboardReading::Extent::Unread)
        pasteboard.replaceItems(items);
}

} // namespace tallowfern
