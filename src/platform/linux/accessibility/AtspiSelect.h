#pragma once

#include "foundation/Clock.h"
#include "platform/linux/accessibility/AtspiText.h"

namespace tallowfern {

/// Selects the range, in UTF-16 units, if `expected` stands in it; otherwise the selection stays as it is. True when
/// the application then tells of just this selection, and of the same text up to its end. Changes nothing any more once
/// stop is requested, which is how it gets its deadline.
QCoro::Task<bool> selectRange(AtspiText text, TextRange range, QString expected, Clock& clock, std::stop_token stop);

} // namespace tallowfern
