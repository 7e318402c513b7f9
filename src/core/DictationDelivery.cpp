#include "core/DictationDelivery.h"

#include <QFile>

namespace tallowfern {

DictationDelivery::DictationDelivery(Clock& clock, const Preferences& preferences, Pasteboard& pasteboard,
    ClipboardRestorer& restorer, TextDelivery& textDelivery, HistoryStore& history)
    : m_clock(clock)
    , m_preferences(preferences)
    , m_pasteboard(pasteboard)
    , m_restorer(restorer)
    , m_textDelivery(textDelivery)
    , m_history(history)
{
}

QCoro::Task<> DictationDelivery::deliver(FinishedDictation dictation)
{
    const std::stop_token stop = m_lifetime.token();
    PasteboardSnapshot snapshot = co_await m_restorer.takeClipboardSnapshotForRestore();
    if (stop.stop_requested())
        co_return;
    m_pasteboard.replaceText(dictation.text);
    QFile::remove(dictation.audioPath);
    HistoryItem item;
    item.id = QUuid::createUuid();
    item.createdAt = m_clock.wallNow();
    item.text = dictation.text;
    item.duration = dictation.duration;
    item.modelID = dictation.modelID;
    m_history.add(item);
    if (m_preferences.automaticPaste())
        co_await paste(std::move(dictation), std::move(snapshot));
}

QCoro::Task<> DictationDelivery::paste(FinishedDictation dictation, PasteboardSnapshot snapshot)
{
    // Another program may copy between our write and the chord, which is then not posted. Once is chance: the words
    // go on the clipboard again, and what was copied is what comes back. Twice is a program that insists.
    constexpr int kAttempts = 2;
    const std::stop_token stop = m_lifetime.token();
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        const qint64 delivered = m_pasteboard.changeCount();
        const bool pasted = co_await m_textDelivery.paste(dictation.target);
        if (stop.stop_requested())
            co_return;
        if (pasted) {
            m_restorer.scheduleClipboardRestore(std::move(snapshot), delivered);
            co_return;
        }
        const qint64 settled = co_await m_pasteboard.settledChangeCount();
        if (stop.stop_requested() || settled == delivered || attempt == kAttempts)
            co_return;
        snapshot = co_await m_restorer.takeClipboardSnapshotForRestore();
        if (stop.stop_requested())
            co_return;
        m_pasteboard.replaceText(dictation.text);
    }
}

} // namespace tallowfern
