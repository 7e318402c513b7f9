#include "agent/RuntimeDiagnostics.h"

#include <QStringList>

namespace tallowfern {

QString diagnosticSuffix(const QByteArray& errorOutput)
{
    const QStringList lines = QString::fromUtf8(errorOutput).split(u'\n', Qt::SkipEmptyParts);
    const QString said = lines.mid(std::max<qsizetype>(0, lines.size() - 3)).join(u' ').trimmed();
    return said.isEmpty() ? said : u' ' + said;
}

} // namespace tallowfern
