#pragma once

#include "core/Preferences.h"
#include "delivery/ClipboardRestorer.h"
#include "delivery/TextDelivery.h"
#include "foundation/Clock.h"
#include "foundation/Lifetime.h"
#include "history/HistoryStore.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"

#include <QCoroTask>
#include <QString>

#include <optional>

namespace tallowfern {

/// A Dictation whose words are final.
struct FinishedDictation {
    QString text;
    QString audioPath; ///< removed as soon as the text is on the clipboard
    double duration; ///< of the recording, seconds
    QString modelID;
    std::optional<RunningApplication> target;
};

/// Takes finished words to where they belong: clipboard, history, target. Never fails: words that cannot be pasted
/// stay on the clipboard. Main thread.
class DictationDelivery {
public:
    DictationDelivery(Clock& clock, const Preferences& preferences, Pasteboard& pasteboard, ClipboardRestorer& restorer,
        TextDelivery& textDelivery, HistoryStore& history);

    QCoro::Task<> deliver(FinishedDictation dictation);

private:
    QCoro::Task<> paste(FinishedDictation dictation, PasteboardSnapshot snapshot);

    Clock& m_clock;
    const Preferences& m_preferences;
    Pasteboard& m_pasteboard;
    ClipboardRestorer& m_restorer;
    TextDelivery& m_textDelivery;
    HistoryStore& m_history;
    Lifetime m_lifetime;
};

} // namespace tallowfern
