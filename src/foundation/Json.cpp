#include "foundation/Json.h"

#include <QJsonDocument>
#include <QTimeZone>

#include <cmath>

namespace tallowfern::json {

void fail(const QString& what)
{
    throw DecodingError(QStringLiteral("The stored value is damaged: %1.").arg(what));
}

namespace {

double whole(const QJsonValue& value, double least, double most)
{
    const double number = value.isDouble() ? value.toDouble() : std::nan("");
    if (!(number >= least && number <= most) || std::floor(number) != number)
        fail(QStringLiteral("no whole number in range"));
    return number;
}

} // namespace

void read(const QJsonValue& value, bool& out)
{
    if (!value.isBool())
        fail(QStringLiteral("no boolean"));
    out = value.toBool();
}

void read(const QJsonValue& value, double& out)
{
    if (!value.isDouble())
        fail(QStringLiteral("no number"));
    out = value.toDouble();
}

void read(const QJsonValue& value, qint64& out)
{
    whole(value, -9.3e18, 9.3e18);
    out = value.toInteger();
}

void read(const QJsonValue& value, quint32& out)
{
    out = static_cast<quint32>(whole(value, 0, 4294967295.0));
}

void read(const QJsonValue& value, QString& out)
{
    if (!value.isString())
        fail(QStringLiteral("no text"));
    out = value.toString();
}

void read(const QJsonValue& value, QUuid& out)
{
    out = value.isString() ? QUuid::fromString(value.toString()) : QUuid();
    if (out.isNull())
        fail(QStringLiteral("no identifier"));
}

void read(const QJsonValue& value, QDateTime& out)
{
    out = value.isString() ? QDateTime::fromString(value.toString(), Qt::ISODate).toUTC() : QDateTime();
    if (!out.isValid())
        fail(QStringLiteral("no date"));
}

QJsonValue write(bool value)
{
    return value;
}
QJsonValue write(double value)
{
    return value;
}
QJsonValue write(qint64 value)
{
    return value;
}
QJsonValue write(quint32 value)
{
    return qint64{value};
}
QJsonValue write(const QString& value)
{
    return value;
}
QJsonValue write(const QUuid& value)
{
    return value.toString(QUuid::WithoutBraces).toUpper();
}
QJsonValue write(const QDateTime& value)
{
    return value.toUTC().toString(Qt::ISODate);
}

void read(const QJsonValue& value, Secret& out)
{
    QString text;
    read(value, text);
    out = Secret(text.toUtf8());
}

QJsonValue write(const Secret& value)
{
    return QString::fromUtf8(value.reveal());
}

QByteArray storageBytes(const QJsonValue& value)
{
    const QJsonDocument document = value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    return document.toJson(QJsonDocument::Indented);
}

QJsonValue parse(const QByteArray& bytes)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        fail(error.errorString());
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

} // namespace tallowfern::json
