#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace tallowfern {

using PreferenceValue = std::variant<bool, qint64, double, QString, QByteArray, QStringList>;

/// The user's key-value store. Main thread. Values are read once at start and kept; set() and remove() return at once
/// and reach the disk by themselves, at the latest when the store is destroyed.
class PreferenceStore {
public:
    virtual ~PreferenceStore() = default;

    virtual std::optional<PreferenceValue> value(const QString& key) const = 0;
    virtual void set(const QString& key, const PreferenceValue& value) = 0;
    virtual void remove(const QString& key) = 0;
    /// All values of another application's store; absent when there is none.
    virtual std::optional<QMap<QString, PreferenceValue>> persistentDomain(const QString& name) const = 0;

    /// The value if it is there and of this type. A whole number also reads as a double.
    template <class T>
    std::optional<T> get(const QString& key) const
    {
        const auto stored = value(key);
        if (!stored)
            return std::nullopt;
        if (const T* typed = std::get_if<T>(&*stored))
            return *typed;
        if constexpr (std::is_same_v<T, double>) {
            if (const qint64* whole = std::get_if<qint64>(&*stored))
                return static_cast<double>(*whole);
        }
        return std::nullopt;
    }
};

} // namespace tallowfern
