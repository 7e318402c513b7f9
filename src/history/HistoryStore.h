#pragma once

#include "foundation/Clock.h"
#include "history/HistoryFile.h"
#include "history/HistoryItem.h"
#include "system/AppPaths.h"

#include <QList>
#include <QObject>

#include <optional>

namespace tallowfern {

/// What was dictated, newest first, for as long as the user wants it. Every change is saved in the background.
/// A file that cannot be understood is set aside, one that cannot be read is left alone: then nothing is saved.
/// Main thread.
class HistoryStore : public QObject {
    Q_OBJECT
public:
    HistoryStore(const AppPaths& paths, Clock& clock);

    const QList<HistoryItem>& items() const { return m_items; }
    void add(const HistoryItem& item);
    /// Also deletes the recording of an item that has one.
    void deleteItem(const HistoryItem& item);
    /// Dictated in the last seven days, rounded.
    qint64 minutesThisWeek() const;

Q_SIGNALS:
    void itemsChanged();

private:
    void load();

    AppPaths m_paths;
    Clock& m_clock;
    QList<HistoryItem> m_items;
    std::optional<HistoryFile> m_file; ///< absent when there is a file that must not be overwritten
};

} // namespace tallowfern
