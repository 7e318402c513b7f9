#include "platform/linux/preferences/FilePreferenceStore.h"

#include "foundation/Files.h"
#include "foundation/Json.h"
#include "foundation/LocalizedError.h"
#include "platform/linux/preferences/PreferenceJson.h"

#include <QDir>
#include <QFileInfo>

#include <mutex>

namespace tallowfern {

using namespace Qt::StringLiterals;

/// What the worker has of its own, and the one letter box through which it gets the newest bytes.
struct FilePreferenceStore::Disk {
    QString path;
    std::optional<QDateTime> damaged; ///< when the file was found damaged; the worker's own

    std::mutex mutex;
    std::optional<QByteArray> newest; ///< under the mutex

    void writeNewest()
    {
        QByteArray bytes;
        {
            const std::lock_guard lock(mutex);
            bytes = std::exchange(newest, std::nullopt).value_or(QByteArray());
        }
        try {
            makePrivateFolder(QFileInfo(path).path());
            if (damaged && QFileInfo::exists(path))
                setAsideDamagedFile(path, *damaged);
            damaged.reset();
            writeFileAtomically(path, {bytes});
        } catch (const SystemError&) {
            // The user goes on with the values in memory; the next change tries again.
        }
    }
};

FilePreferenceStore::FilePreferenceStore(const QString& path, const Clock& clock)
    : m_folder(QFileInfo(path).path())
{
    const auto disk = std::make_shared<Disk>();
    // A link stays a link: people keep their settings elsewhere.
    const QString target = QFileInfo(path).canonicalFilePath();
    disk->path = target.isEmpty() ? path : target;
    try {
        const auto bytes = readFile(path);
        m_disk = disk;
        if (bytes)
            m_values = preferencesFromJson(*bytes);
    } catch (const json::DecodingError&) {
        disk->damaged = clock.wallNow();
    } catch (const SystemError&) {
    }
}

FilePreferenceStore::~FilePreferenceStore() = default;

std::optional<PreferenceValue> FilePreferenceStore::value(const QString& key) const
{
    return preferenceFromJson(m_values.value(key));
}

void FilePreferenceStore::set(const QString& key, const PreferenceValue& value)
{
    const QJsonValue stored = preferenceToJson(value);
    if (m_values.value(key) == stored)
        return;
    m_values.insert(key, stored);
    write();
}

void FilePreferenceStore::remove(const QString& key)
{
    if (!m_values.contains(key))
        return;
    m_values.remove(key);
    write();
}

void FilePreferenceStore::write()
{
    if (!m_disk)
        return;
    {
        const std::lock_guard lock(m_disk->mutex);
        const bool underWay = m_disk->newest.has_value();
        m_disk->newest = json::storageBytes(m_values);
        if (underWay)
            return;
    }
    m_queue.post([disk = m_disk] { disk->writeNewest(); });
}

std::optional<QMap<QString, PreferenceValue>> FilePreferenceStore::persistentDomain(const QString& name) const
{
    if (name.isEmpty() || name.contains(u'/'))
        return std::nullopt;
    try {
        const auto bytes = readFile(QDir::cleanPath(m_folder + u"/../"_s + name + u"/preferences.json"_s));
        if (!bytes)
            return std::nullopt;
        const QJsonObject stored = preferencesFromJson(*bytes);
        QMap<QString, PreferenceValue> values;
        for (auto entry = stored.begin(); entry != stored.end(); ++entry) {
            if (const auto value = preferenceFromJson(entry.value()))
                values.insert(entry.key(), *value);
        }
        return values;
    } catch (const LocalizedError&) {
        return std::nullopt; // what cannot be understood is as good as absent
    }
}

} // namespace tallowfern
