#include "platform/linux/x11/DesktopEntry.h"

#include <QFile>
#include <QLocale>
#include <QStandardPaths>

namespace tallowfern {

using namespace Qt::StringLiterals;

std::optional<QString> desktopEntryName(const QString& identifier)
{
    if (identifier.isEmpty() || identifier.contains(u'/')) // the identifier is another program's word
        return std::nullopt;
    const QString path = QStandardPaths::locate(QStandardPaths::ApplicationsLocation, identifier + u".desktop"_s);
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;

    const QString locale = QLocale().name(); // "de_AT"
    const QStringList keys = {u"Name"_s, u"Name[%1]"_s.arg(locale.section(u'_', 0, 0)), u"Name[%1]"_s.arg(locale)};
    QString name;
    qsizetype best = -1;
    bool inEntry = false;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (const QString& line : lines) {
        if (line.startsWith(u'[')) {
            inEntry = line.startsWith(u"[Desktop Entry]");
        } else if (inEntry) {
            const qsizetype rank = keys.indexOf(line.section(u'=', 0, 0).trimmed());
            if (rank <= best)
                continue;
            best = rank;
            name = line.section(u'=', 1).trimmed();
        }
    }
    return name.isEmpty() ? std::nullopt : std::optional(name);
}

} // namespace tallowfern
