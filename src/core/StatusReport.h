#pragma once

#include "core/AppState.h"

#include <QJsonObject>

namespace tallowfern {

/// The published state, as the control command shows it: names of the published members as keys.
QJsonObject statusReport(const AppState& state);

/// Calls `changed` after each change of what statusReport() tells, as long as `context` lives.
void observeStatus(const AppState& state, QObject* context, const std::function<void()>& changed);

} // namespace tallowfern
