#pragma once

#include "foundation/EnumStrings.h"
#include "foundation/LocalizedError.h"
#include "foundation/Secret.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QUuid>

#include <optional>
#include <tuple>
#include <type_traits>

namespace tallowfern::json {

/// The value does not have the form of the record.
class DecodingError final : public LocalizedError {
public:
    explicit DecodingError(QString sentence)
        : m_sentence(std::move(sentence))
    {
    }
    QString description() const override { return m_sentence; }

private:
    QString m_sentence;
};

/// One key of a record. A record lists its keys once, in `static constexpr auto jsonFields()`, a tuple of these; the
/// list reads and writes. A required key that is missing or mistyped fails the whole value; a tolerated one that is
/// missing keeps the record's default; an absent std::optional is left out on writing.
template <class R, class T>
struct Field {
    const char* key;
    T R::*member;
    bool required;
};
template <class R, class T>
constexpr Field<R, T> required(const char* key, T R::*member)
{
    return {key, member, true};
}
template <class R, class T>
constexpr Field<R, T> tolerated(const char* key, T R::*member)
{
    return {key, member, false};
}

template <class T>
concept Record = requires
{
    T::jsonFields();
};

// Scalars. Numbers are strict: an integer must be whole and in range. Dates are ISO 8601 in UTC, whole seconds.
void read(const QJsonValue& value, bool& out);
void read(const QJsonValue& value, double& out);
void read(const QJsonValue& value, qint64& out);
void read(const QJsonValue& value, quint32& out);
void read(const QJsonValue& value, QString& out);
void read(const QJsonValue& value, QUuid& out);
void read(const QJsonValue& value, QDateTime& out);
void read(const QJsonValue& value, Secret& out);
QJsonValue write(bool value);
QJsonValue write(double value);
QJsonValue write(qint64 value);
QJsonValue write(quint32 value);
QJsonValue write(const QString& value);
QJsonValue write(const QUuid& value);
QJsonValue write(const QDateTime& value);
QJsonValue write(const Secret& value);

[[noreturn]] void fail(const QString& what);

template <StringEnum E>
void read(const QJsonValue& value, E& out)
{
    const auto found = value.isString() ? enumFromString<E>(value.toString()) : std::nullopt;
    if (!found)
        fail(QStringLiteral("an unknown word"));
    out = *found;
}
template <StringEnum E>
QJsonValue write(E value)
{
    return enumToString(value);
}

template <Record R>
void read(const QJsonValue& value, R& out);
template <Record R>
QJsonValue write(const R& value);

template <class T>
void read(const QJsonValue& value, QList<T>& out)
{
    if (!value.isArray())
        fail(QStringLiteral("no list"));
    const QJsonArray array = value.toArray();
    out.clear();
    out.reserve(array.size());
    for (const auto& element : array) {
        T item{};
        read(element, item);
        out.append(std::move(item));
    }
}
template <class T>
QJsonValue write(const QList<T>& value)
{
    QJsonArray array;
    for (const T& item : value)
        array.append(write(item));
    return array;
}

template <class T>
struct IsOptional : std::false_type {
};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {
};

template <class R, class T>
void readField(const QJsonObject& object, R& record, const Field<R, T>& field)
{
    const QJsonValue value = object.value(QLatin1StringView(field.key));
    if constexpr (IsOptional<T>::value) {
        if (value.isUndefined() || value.isNull())
            return;
        typename T::value_type inner{};
        read(value, inner);
        record.*field.member = std::move(inner);
    } else if (!value.isUndefined()) {
        read(value, record.*field.member);
    } else if (field.required) {
        fail(QStringLiteral("no \"%1\"").arg(QLatin1StringView(field.key)));
    }
}

template <class R, class T>
void writeField(QJsonObject& object, const R& record, const Field<R, T>& field)
{
    if constexpr (IsOptional<T>::value) {
        if (record.*field.member)
            object.insert(QLatin1StringView(field.key), write(*(record.*field.member)));
    } else {
        object.insert(QLatin1StringView(field.key), write(record.*field.member));
    }
}

template <Record R>
void read(const QJsonValue& value, R& out)
{
    if (!value.isObject())
        fail(QStringLiteral("no object"));
    const QJsonObject object = value.toObject();
    std::apply([&](const auto&... field) { (readField(object, out, field), ...); }, R::jsonFields());
}
template <Record R>
QJsonValue write(const R& value)
{
    QJsonObject object;
    std::apply([&](const auto&... field) { (writeField(object, value, field), ...); }, R::jsonFields());
    return object;
}

/// The form in which the application stores values: indented, keys sorted, dates as above.
QByteArray storageBytes(const QJsonValue& value);
/// Throws DecodingError for bytes that are not JSON.
QJsonValue parse(const QByteArray& bytes);

template <class T>
QByteArray encodeForStorage(const T& value)
{
    return storageBytes(write(value));
}
/// Throws DecodingError.
template <class T>
T decode(const QByteArray& bytes)
{
    T value{};
    read(parse(bytes), value);
    return value;
}

} // namespace tallowfern::json
