#pragma once

#include "agent/protocol/AgentModelDescriptor.h"

#include <QByteArray>

namespace tallowfern {

/// The line that says which model stands for the operating system's own, of which Linux has none: the smallest of the
/// catalogue whose file lies in the folder of the models. When none does, the line says what to download.
QByteArray systemModelAnswer(const QList<AgentModelDescriptor>& catalog, const QString& modelsFolder);

} // namespace tallowfern
