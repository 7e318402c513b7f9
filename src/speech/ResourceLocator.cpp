#include "speech/ResourceLocator.h"

#include <QFileInfo>

namespace tallowfern {

namespace {

QString environmentOverride(QString name)
{
    name = name.toUpper().replace(u'-', u'_');
    return qEnvironmentVariable(QStringLiteral("TALLOWFERN_%1_PATH").arg(name).toLatin1().constData());
}

} // namespace

ResourceLocator::ResourceLocator(QString libexecFolder)
    : m_libexecFolder(std::move(libexecFolder))
{
}

std::optional<QString> ResourceLocator::file(const QString& named) const
{
    // A name that the user gave and mistyped must not end in a program that nobody asked for.
    if (const QString chosen = environmentOverride(named); !chosen.isEmpty())
        return QFileInfo::exists(chosen) ? std::optional(QFileInfo(chosen).absoluteFilePath()) : std::nullopt;
    for (const QString& place :
        {m_libexecFolder + u'/' + named, m_libexecFolder + QStringLiteral("/Resources/") + named}) {
        if (QFileInfo::exists(place))
            return QFileInfo(place).absoluteFilePath();
    }
    return std::nullopt;
}

} // namespace tallowfern
