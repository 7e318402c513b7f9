#pragma once

#include <QString>

#include <optional>

namespace tallowfern {

/// The name, in the user's language, of the application whose desktop file is `identifier`.desktop; nothing without
/// such a file.
std::optional<QString> desktopEntryName(const QString& identifier);

} // namespace tallowfern
