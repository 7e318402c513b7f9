#include "runtime/server/FreeMemory.h"

#include <QFile>
#include <QList>

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

QByteArray content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The number behind the name that a line begins with.
std::optional<qint64> figure(const QByteArray& lines, QByteArrayView name)
{
    for (const QByteArray& line : lines.split('\n')) {
        if (!line.startsWith(name))
            continue;
        bool good = false;
        const qint64 number = line.sliced(name.size()).simplified().split(' ').value(0).toLongLong(&good);
        if (good)
            return number;
    }
    return std::nullopt;
}

/// Nothing where the group sets no limit.
std::optional<qint64> freeInGroup(const QString& folder)
{
    const auto most = figure(content(folder + u"/memory.max"_s), "");
    const auto current = figure(content(folder + u"/memory.current"_s), "");
    if (!most || !current)
        return std::nullopt;
    // Pages of files that nobody has used of late are given up first.
    const qint64 reclaimable = figure(content(folder + u"/memory.stat"_s), "inactive_file ").value_or(0);
    return *most - (*current - reclaimable);
}

/// Of version 2 of the groups; "0::/a/b" is the line of their tree.
QString ownGroup(const QString& root)
{
    for (const QByteArray& line : content(root + u"/proc/self/cgroup"_s).split('\n')) {
        if (line.startsWith("0::/"))
            return QString::fromUtf8(line.sliced(3));
    }
    return u"/"_s;
}

} // namespace

std::optional<qint64> freeMemory(const QString& root)
{
    QList<qint64> limits;
    const auto available = figure(content(root + u"/proc/meminfo"_s), "MemAvailable:");
    if (available)
        limits.append(*available * 1024);
    // In a container the path may lead nowhere; then the limits are those at its top.
    for (QString group = ownGroup(root); !group.isEmpty(); group.truncate(group.lastIndexOf(u'/'))) {
        if (const auto left = freeInGroup(root + u"/sys/fs/cgroup"_s + group))
            limits.append(*left);
    }
    if (const auto left = freeInGroup(root + u"/sys/fs/cgroup"_s))
        limits.append(*left);
    if (limits.isEmpty())
        return std::nullopt;
    return std::max<qint64>(0, *std::min_element(limits.begin(), limits.end()));
}

} // namespace tallowfern
