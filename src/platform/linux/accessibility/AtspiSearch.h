#pragma once

#include "platform/Accessibility.h"

#include <QDBusConnection>

namespace tallowfern {

/// Walks through what the process shows, for the element that has the focus and a text: the deepest one, because
/// toolkits also give the focus to what surrounds it. May take a second in a big application; nobody waits for it.
QCoro::Task<std::optional<AccessibleElement>> findFocusedText(QDBusConnection bus, qint64 processIdentifier);

} // namespace tallowfern
