#include "system/AppPaths.h"

#include "foundation/Files.h"
#include "foundation/LocalizedError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

void move(const QString& from, const QString& to)
{
    if (!QFile::rename(from, to))
        throw SystemError(QStringLiteral("%1 cannot be moved to %2.").arg(from, to));
}

bool exists(const QString& path)
{
    const QFileInfo information(path);
    return information.exists() || information.isSymLink();
}

/// A link to a folder is not one: it is moved, never walked.
bool isFolder(const QString& path)
{
    const QFileInfo information(path);
    return information.isDir() && !information.isSymLink();
}

QStringList entriesOf(const QString& folder)
{
    if (!QFileInfo(folder).isReadable())
        throw SystemError(QStringLiteral("%1 cannot be read.").arg(folder));
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

/// What is there already wins; what collides stays behind untouched, and so does its folder.
void mergeContents(const QString& source, const QString& target)
{
    for (const QString& name : entriesOf(source)) {
        const QString entry = source + u'/' + name;
        const QString destination = target + u'/' + name;
        if (isFolder(entry) && QFileInfo(destination).isDir())
            mergeContents(entry, destination);
        else if (!exists(destination))
            move(entry, destination);
    }
    if (entriesOf(source).isEmpty() && !QDir().rmdir(source))
        throw SystemError(QStringLiteral("%1 cannot be removed.").arg(source));
}

void migrateLegacyDataIfNeeded(const QString& legacyRoot, const QString& root)
{
    if (!exists(legacyRoot))
        return;
    if (!exists(root))
        move(legacyRoot, root);
    else
        mergeContents(legacyRoot, root);
}

} // namespace

AppPaths::AppPaths(QString base)
    : m_base(std::move(base))
{
}

AppPaths AppPaths::forUser()
{
    return AppPaths(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
}

QString AppPaths::root() const
{
    return m_base + u"/Tallowfern"_s;
}
QString AppPaths::models() const
{
    return root() + u"/Models"_s;
}
QString AppPaths::agentModels() const
{
    return root() + u"/AgentModels"_s;
}
QString AppPaths::agentData() const
{
    return root() + u"/Agent"_s;
}
QString AppPaths::agentAttachments() const
{
    return agentData() + u"/Attachments"_s;
}
QString AppPaths::pendingAttachments() const
{
    return agentAttachments() + u"/pending"_s;
}
QString AppPaths::agentConversations() const
{
    return agentData() + u"/conversations.json"_s;
}
QString AppPaths::agentSessions() const
{
    return agentData() + u"/sessions.sqlite"_s;
}
QString AppPaths::customAgentModels() const
{
    return agentData() + u"/custom-models.json"_s;
}
QString AppPaths::recordings() const
{
    return root() + u"/Recordings"_s;
}
QString AppPaths::temporaryRecordings() const
{
    return root() + u"/TemporaryRecordings"_s;
}
QString AppPaths::history() const
{
    return root() + u"/history.json"_s;
}

void AppPaths::prepare() const
{
    migrateLegacyDataIfNeeded(m_base + u"/Quorvane Plus"_s, root());
    for (const QString& folder :
        {models(), agentModels(), agentData(), agentAttachments(), recordings(), temporaryRecordings()})
        makePrivateFolder(folder);
}

} // namespace tallowfern
