#pragma once

#include <QString>

#include <optional>

namespace tallowfern {

/// Bytes that a new process could take without hurting the others: what the kernel calls available, or less where the
/// groups that we are in allow less. Nothing when the system does not tell. `root` is the folder that stands for "/".
std::optional<qint64> freeMemory(const QString& root);

} // namespace tallowfern
