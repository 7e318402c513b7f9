#pragma once

#include "platform/PreferenceStore.h"

namespace tallowfern {

/// Preferences in memory; the test sees what was written.
class FakePreferenceStore final : public PreferenceStore {
public:
    QMap<QString, PreferenceValue> values;
    QMap<QString, QMap<QString, PreferenceValue>> domains;

    std::optional<PreferenceValue> value(const QString& key) const override
    {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(*found);
    }
    void set(const QString& key, const PreferenceValue& value) override { values.insert(key, value); }
    void remove(const QString& key) override { values.remove(key); }
    std::optional<QMap<QString, PreferenceValue>> persistentDomain(const QString& name) const override
    {
        const auto found = domains.find(name);
        return found == domains.end() ? std::nullopt : std::optional(*found);
    }
};

} // namespace tallowfern
