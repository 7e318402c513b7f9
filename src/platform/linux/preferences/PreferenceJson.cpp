#include "platform/linux/preferences/PreferenceJson.h"

#include "foundation/Json.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

std::optional<PreferenceValue> numberFromJson(const QJsonValue& value)
{
    const QVariant number = value.toVariant();
    if (number.typeId() == QMetaType::LongLong)
        return number.toLongLong();
    return value.toDouble();
}

std::optional<PreferenceValue> listFromJson(const QJsonArray& array)
{
    QStringList list;
    for (const auto& element : array) {
        if (!element.isString())
            return std::nullopt;
        list.append(element.toString());
    }
    return list;
}

std::optional<PreferenceValue> bytesFromJson(const QJsonObject& object)
{
    const QJsonValue data = object.value(u"data"_s);
    if (object.size() != 1 || !data.isString())
        return std::nullopt;
    const auto decoded
        = QByteArray::fromBase64Encoding(data.toString().toUtf8(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return *decoded;
}

struct ToJson {
    QJsonValue operator()(bool value) const { return value; }
    QJsonValue operator()(qint64 value) const { return value; }
    QJsonValue operator()(double value) const { return value; }
    QJsonValue operator()(const QString& value) const { return value; }
    QJsonValue operator()(const QByteArray& value) const
    {
        return QJsonObject{{u"data"_s, QString::fromLatin1(value.toBase64())}};
    }
    QJsonValue operator()(const QStringList& value) const { return QJsonArray::fromStringList(value); }
};

} // namespace

QJsonObject preferencesFromJson(const QByteArray& bytes)
{
    const QJsonValue root = json::parse(bytes);
    if (!root.isObject())
        json::fail(u"no object"_s);
    return root.toObject();
}

std::optional<PreferenceValue> preferenceFromJson(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        return value.toBool();
    case QJsonValue::Double:
        return numberFromJson(value);
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Array:
        return listFromJson(value.toArray());
    case QJsonValue::Object:
        return bytesFromJson(value.toObject());
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    return std::nullopt;
}

QJsonValue preferenceToJson(const PreferenceValue& value)
{
    return std::visit(ToJson{}, value);
}

} // namespace tallowfern
