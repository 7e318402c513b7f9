#pragma once

#include <QJsonObject>
#include <QString>

namespace tallowfern::control {

/// The application's status report in a few lines for a person.
QString statusText(const QJsonObject& report);

} // namespace tallowfern::control
