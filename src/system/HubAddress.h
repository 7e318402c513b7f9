#pragma once

#include <QString>
#include <QUrl>

namespace tallowfern {

/// Where a file of the model hub lies. `hub` is the hub's address, `path` the file's path and query below it; a slash
/// between them may be there or not. Throws SystemError when no hub is configured, that is, `hub` is empty.
QUrl addressOnHub(const QString& hub, const QString& path);

} // namespace tallowfern
