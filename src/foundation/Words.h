#pragma once

#include <QCoreApplication>
#include <QString>

namespace tallowfern {

/// Every sentence that a user may read passes here. The catalogue of the platform puts its own words in place of the
/// source string; lupdate knows this function by name.
inline QString words(const char* source)
{
    return QCoreApplication::translate("Tallowfern", source);
}

} // namespace tallowfern
