#pragma once

#include <QByteArray>
#include <QString>

namespace tallowfern {

/// The last three lines of what a program said on its standard error, to follow a sentence, with a blank before them;
/// empty when it said nothing.
QString diagnosticSuffix(const QByteArray& errorOutput);

} // namespace tallowfern
