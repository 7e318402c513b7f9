#pragma once

#include "platform/Workspace.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

#include <QCoroTask>

#include <optional>

namespace tallowfern {

/// One item of the clipboard: its bytes by type (MIME type or the desktop's own name for it).
using PasteboardItem = QMap<QString, QByteArray>;

/// What a reading of the clipboard brought.
struct PasteboardReading {
    enum class Extent {
        Complete, ///< everything that is worth keeping
        Partial, ///< some types could not be had in time; see `missing`
        Unread, ///< the clipboard has content, and none of it could be read
    };
    QList<PasteboardItem> items; ///< empty and Complete: the clipboard is empty
    Extent extent = Extent::Complete;
    QStringList missing; ///< types that were offered and not read
};

/// The clipboard of the desktop. Main thread.
class Pasteboard : public QObject {
    Q_OBJECT
public:
    /// Changes with every write by anyone. Own writes count when made, others' when the desktop has told of them.
    virtual qint64 changeCount() const = 0;
    /// Like changeCount(), but only after everything that happened before the call has been counted (a round trip).
    virtual QCoro::Task<qint64> settledChangeCount() = 0;
    /// Reads all items. Ends after one second at most: an owner that hangs costs the types it did not give.
    virtual QCoro::Task<PasteboardReading> readAll() = 0;
    /// The plain text of the content if a process of `owner` put it there. Nothing when somebody else did, when there
    /// is no text, and when it is not given within one second.
    virtual QCoro::Task<std::optional<QString>> readText(RunningApplication owner) = 0;
    /// What is selected in `application` where selecting alone already copies (PRIMARY of X11). Nothing when that
    /// selection is another process's, and on desktops without one.
    virtual QCoro::Task<std::optional<QString>> readSelectedText(RunningApplication application) = 0;
    /// Replaces everything by these items in one change; with no items the clipboard is empty.
    virtual void replaceItems(const QList<PasteboardItem>& items) = 0;
    /// Replaces everything by one plain text in one change.
    virtual void replaceText(const QString& text) = 0;

Q_SIGNALS:
    void changed();
};

} // namespace tallowfern
