#include "history/HistoryStore.h"

#include "foundation/Files.h"
#include "foundation/LocalizedError.h"

#include <QFile>
#include <QFileInfo>

#include <cmath>

namespace tallowfern {

HistoryStore::HistoryStore(const AppPaths& paths, Clock& clock)
    : m_paths(paths)
    , m_clock(clock)
{
    try {
        m_paths.prepare();
    } catch (const LocalizedError&) {
        // Recording says what is wrong with the folders; what is there is still shown.
    }
    try {
        load();
        m_file.emplace(m_paths.history());
    } catch (const LocalizedError&) {
        // There, and neither to be read nor set aside.
    }
}

void HistoryStore::load()
{
    const auto bytes = readFile(m_paths.history());
    if (!bytes)
        return;
    try {
        m_items = json::decode<QList<HistoryItem>>(*bytes);
    } catch (const json::DecodingError&) {
        setAsideDamagedFile(m_paths.history(), m_clock.wallNow());
    }
}

void HistoryStore::add(const HistoryItem& item)
{
    m_items.prepend(item);
    if (m_file)
        m_file->prepend(json::encodeForStorage(QList{item}));
    Q_EMIT itemsChanged();
}

void HistoryStore::deleteItem(const HistoryItem& item)
{
    m_items.removeIf([&](const HistoryItem& other) { return other.id == item.id; });
    if (item.audioFileName)
        QFile::remove(m_paths.recordings() + QLatin1Char('/') + QFileInfo(*item.audioFileName).fileName());
    if (m_file)
        m_file->remove(item.id);
    Q_EMIT itemsChanged();
}

qint64 HistoryStore::minutesThisWeek() const
{
    constexpr qint64 kWeekSeconds = 604800; // rolling, not of the calendar
    const QDateTime border = m_clock.wallNow().addSecs(-kWeekSeconds);
    double seconds = 0;
    for (const HistoryItem& item : m_items) {
        if (item.createdAt > border)
            seconds += item.duration;
    }
    return std::llround(seconds / 60);
}

} // namespace tallowfern
