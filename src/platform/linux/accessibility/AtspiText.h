#pragma once

#include "platform/Accessibility.h"

#include <QDBusConnection>

namespace tallowfern {

/// The selection of an element, or its cursor. Takes as long as the application takes to answer, so the caller has a
/// deadline. Nothing when the element has no text or the answers do not fit together.
QCoro::Task<std::optional<TextRange>> readSelectedRange(QDBusConnection bus, AccessibleElement element);

} // namespace tallowfern
