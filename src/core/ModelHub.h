#pragma once

#include "platform/PreferenceStore.h"

#include <QString>

namespace tallowfern {

/// The address from which models are fetched: TALLOWFERN_HUB in the environment, or else the setting "hubBaseURL", so
/// that a mirror or a company's own hub serves. Empty when neither is there.
inline QString hubBaseURL(const PreferenceStore& preferences)
{
    const QString named = qEnvironmentVariable("TALLOWFERN_HUB");
    return named.isEmpty() ? preferences.get<QString>(QStringLiteral("hubBaseURL")).value_or(QString()) : named;
}

} // namespace tallowfern
