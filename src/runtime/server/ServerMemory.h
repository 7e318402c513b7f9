#pragma once

#include "runtime/server/ModelServer.h"

namespace tallowfern {

/// How many tokens the model's memory of a text may hold, given the free bytes; nothing known about them is enough.
/// Throws LocalizedError when a file of the model is missing or the memory is too small for it.
qint64 contextThatFits(const ModelFiles& files, std::optional<qint64> freeBytes);

} // namespace tallowfern
