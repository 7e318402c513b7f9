#pragma once

#include <QString>

#include <optional>
#include <stop_token>

namespace tallowfern {

/// The SHA-256 of the whole file in 64 lower-case hexadecimal digits; nothing once `stop` is requested. Takes as long
/// as the disk does, and memory for one chunk: for workers. Throws SystemError.
std::optional<QString> sha256OfFile(const QString& path, std::stop_token stop = {});

} // namespace tallowfern
