#include "history/HistoryFile.h"

#include "foundation/Files.h"
#include "foundation/Json.h"
#include "foundation/LocalizedError.h"

#include <QJsonArray>
#include <QJsonObject>

namespace tallowfern {

namespace {

/// The file with the item in front. Cheap: what is there already is not looked at.
QByteArray withItem(const QByteArray& item, const QByteArray& file)
{
    const qsizetype open = file.indexOf('[');
    const QByteArray rest = open < 0 ? QByteArray("]\n") : file.sliced(open + 1).trimmed();
    return "[\n" + item.trimmed() + (rest.startsWith(']') ? "\n" : ",\n") + rest + '\n';
}

QByteArray withoutItem(const QUuid& id, const QByteArray& file)
{
    const QJsonArray items = json::parse(file).toArray();
    QJsonArray kept;
    for (const auto& item : items) {
        if (QUuid::fromString(item.toObject().value(QLatin1StringView("id")).toString()) != id)
            kept.append(item);
    }
    return json::storageBytes(kept);
}

} // namespace

HistoryFile::HistoryFile(QString path)
    : m_pending(std::make_shared<Pending>())
{
    m_pending->path = std::move(path);
}

HistoryFile::~HistoryFile()
{
    m_queue.post([pending = m_pending] { write(*pending); });
}

void HistoryFile::prepend(QByteArray bytes)
{
    post(std::move(bytes));
}

void HistoryFile::remove(const QUuid& id)
{
    post(id);
}

void HistoryFile::post(Change change)
{
    m_queue.post([pending = m_pending, change = std::move(change)] {
        pending->changes.push_back(change);
        write(*pending);
    });
}

void HistoryFile::write(Pending& pending)
{
    if (pending.changes.empty())
        return;
    try {
        QByteArray file = readFile(pending.path).value_or(QByteArray());
        for (const Change& change : pending.changes) {
            if (const auto* item = std::get_if<QByteArray>(&change))
                file = withItem(*item, file);
            else if (!file.isEmpty())
                file = withoutItem(std::get<QUuid>(change), file);
        }
        writeFileAtomically(pending.path, {file});
        pending.changes.clear();
    } catch (const LocalizedError&) {
        // The changes stay pending; the list in memory is what the user sees.
    }
}

} // namespace tallowfern
