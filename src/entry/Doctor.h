#pragma once

#include "LinuxDesktop.h"

#include "doctor/Diagnosis.h"

#include <QCoroTask>

namespace tallowfern {

/// Looks at everything that Tallowfern needs of this desktop. Takes some two seconds, most of them for the microphone.
/// `desktop` may be null where there is none.
QCoro::Task<Findings> examine(LinuxDesktop* desktop, Clock* clock, QString libexecFolder);

} // namespace tallowfern
