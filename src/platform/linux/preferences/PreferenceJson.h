#pragma once

#include "platform/PreferenceStore.h"

#include <QJsonObject>
#include <QJsonValue>

namespace tallowfern {

/// Throws json::DecodingError for bytes that are no JSON object.
QJsonObject preferencesFromJson(const QByteArray& bytes);

/// Nothing for a value that has no type of ours.
std::optional<PreferenceValue> preferenceFromJson(const QJsonValue& value);
QJsonValue preferenceToJson(const PreferenceValue& value);

} // namespace tallowfern
