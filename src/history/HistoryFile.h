#pragma once

#include "foundation/BackgroundQueue.h"

#include <QByteArray>
#include <QString>
#include <QUuid>

#include <memory>
#include <variant>
#include <vector>

namespace tallowfern {

/// Changes the history file in the background, without the list in memory: a new item goes before the old file's
/// bytes, a deleted one is cut out of them. A change that cannot be written (full disk) waits for the next one and is
/// applied together with it, once more at the end. Main thread.
class HistoryFile {
public:
    explicit HistoryFile(QString path);
    HistoryFile(const HistoryFile&) = delete;
    HistoryFile& operator=(const HistoryFile&) = delete;
    /// Blocks until everything is written, as far as the disk allows.
    ~HistoryFile();

    /// `listOfOne` is the stored form of a list that holds the item alone.
    void prepend(QByteArray listOfOne);
    void remove(const QUuid& id);

private:
    using Change = std::variant<QByteArray, QUuid>; ///< an item that came, or the identifier of one that went
    /// Touched by the worker only.
    struct Pending {
        QString path;
        std::vector<Change> changes;
    };

    void post(Change change);
    static QByteArray applied(const std::vector<Change>& changes, QByteArray file);
    static void write(Pending& pending);

    std::shared_ptr<Pending> m_pending;
    BackgroundQueue m_queue;
};

} // namespace tallowfern
