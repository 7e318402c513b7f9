#pragma once

#include "foundation/BackgroundQueue.h"
#include "foundation/Clock.h"
#include "platform/PreferenceStore.h"

#include <QDateTime>
#include <QJsonObject>

#include <memory>

namespace tallowfern {

/// The preferences in one JSON file, read by the constructor and written whole in the background. Bytes are
/// {"data": "base64"}; what has no type of ours is kept as it is. A damaged file is set aside before the first write; a
/// file that is there and cannot be read is never written. A write that fails costs nothing but itself: the values
/// stay, and the next change writes all of them.
class FilePreferenceStore final : public PreferenceStore {
public:
    /// The store of another application NAME is "NAME/preferences.json" beside the folder of `path`.
    FilePreferenceStore(const QString& path, const Clock& clock);
    ~FilePreferenceStore() override;

    std::optional<PreferenceValue> value(const QString& key) const override;
    void set(const QString& key, const PreferenceValue& value) override;
    void remove(const QString& key) override;
    std::optional<QMap<QString, PreferenceValue>> persistentDomain(const QString& name) const override;

private:
    struct Disk;

    void write();

    QString m_folder;
    QJsonObject m_values;
    std::shared_ptr<Disk> m_disk; ///< absent when the file must not be written
    BackgroundQueue m_queue; ///< last, so that it ends first
};

} // namespace tallowfern
