#include "history/HistoryFile.h"

#include "foundation/Files.h"
#include "foundation/Json.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

namespace tallowfern {

namespace {

constexpr auto kEmptyList = "[]\n";

/// The file with the item in front, in the form that storing the whole list would give. Cheap: what is there already
/// is not looked at. Throws DecodingError when it is no list.
QByteArray withItem(const QByteArray& listOfOne, const QByteArray& file)
{
    const QByteArrayView old = QByteArrayView(file).trimmed();
    if (!old.startsWith('[') || !old.endsWith(']'))
        json::fail(QStringLiteral("no list"));
    const QByteArrayView rest = old.sliced(1);
    if (rest.trimmed() == "]")
        return listOfOne;
    QByteArray both;
    both.reserve(listOfOne.size() + rest.size() + 2);
    both.append(
        QByteArrayView(listOfOne).first(listOfOne.lastIndexOf(']')).trimmed()); // without the bracket at the end
    return both.append(',').append(rest).append('\n');
}

QByteArray withoutItem(const QUuid& id, const QByteArray& file)
{
    const QJsonValue items = json::parse(file);
    if (!items.isArray())
        json::fail(QStringLiteral("no list"));
    QJsonArray kept;
    for (const auto& item : items.toArray()) {
        if (QUuid::fromString(item.toObject().value(QLatin1StringView("id")).toString()) != id)
            kept.append(item);
    }
    return json::storageBytes(kept);
}

} // namespace

HistoryFile::HistoryFile(QString path)
    : m_pending(std::make_shared<Pending>())
{
    removeAbandonedCopies(path);
    m_pending->path = std::move(path);
}

HistoryFile::~HistoryFile()
{
    m_queue.post([pending = m_pending] { write(*pending); });
}

void HistoryFile::prepend(QByteArray listOfOne)
{
    post(std::move(listOfOne));
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

QByteArray HistoryFile::applied(const std::vector<Change>& changes, QByteArray file)
{
    for (const Change& change : changes) {
        const auto* item = std::get_if<QByteArray>(&change);
        file = item ? withItem(*item, file) : withoutItem(std::get<QUuid>(change), file);
    }
    return file;
}

void HistoryFile::write(Pending& pending)
{
    if (pending.changes.empty())
        return;
    try {
        QByteArray file = readFile(pending.path).value_or(kEmptyList);
        try {
            file = applied(pending.changes, std::move(file));
        } catch (const json::DecodingError&) {
            // Damaged by somebody since it was loaded.
            setAsideDamagedFile(pending.path, QFileInfo(pending.path).lastModified());
            file = applied(pending.changes, kEmptyList);
        }
        writeFileAtomically(pending.path, {file});
        pending.changes.clear();
    } catch (const LocalizedError&) {
        // The changes stay pending; the list in memory is what the user sees.
    }
}

} // namespace tallowfern
