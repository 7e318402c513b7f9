#include "foundation/Files.h"
#include "foundation/LocalizedError.h"
#include "system/AppPaths.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;

/// Paths with contents. A folder ends with '/', a link has "-> target".
using Tree = QMap<QString, QByteArray>;

const Tree kFolders = {{u"Tallowfern/"_s, {}}, {u"Tallowfern/Models/"_s, {}}, {u"Tallowfern/AgentModels/"_s, {}},
    {u"Tallowfern/Agent/"_s, {}}, {u"Tallowfern/Agent/Attachments/"_s, {}}, {u"Tallowfern/Recordings/"_s, {}},
    {u"Tallowfern/TemporaryRecordings/"_s, {}}};

void plant(const QString& base, const Tree& tree)
{
    for (const auto& [name, content] : tree.asKeyValueRange()) {
        const QString path = base + u'/' + name;
        makePrivateFolder(name.endsWith(u'/') ? path : QFileInfo(path).path());
        if (content.startsWith("-> "))
            QFile::link(QString::fromUtf8(content.sliced(3)), path);
        else if (!name.endsWith(u'/'))
            writeFileAtomically(path, {content});
    }
}

Tree treeOf(const QString& base)
{
    Tree tree;
    QDirIterator files(
        base, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QFileInfo file(files.next());
        const QString name = QDir(base).relativeFilePath(file.filePath());
        if (file.isSymLink())
            tree.insert(name, "-> " + QFile::encodeName(QFile(file.filePath()).symLinkTarget()));
        else if (file.isDir())
            tree.insert(name + u'/', {});
        else
            tree.insert(name, readFile(file.filePath()).value_or(QByteArray()));
    }
    return tree;
}

struct Case {
    const char* name;
    Tree before;
    Tree after; ///< beside the folders that are always there
};

const Case kCases[] = {
    {"nothing there", {}, {}},
    {"only the earlier folder: all of it moves, whatever it holds",
        {{u"Quorvane Plus/Models/a.bin"_s, "a"}, {u"Quorvane Plus/.hidden"_s, "h"},
            {u"Quorvane Plus/history.json"_s, "[]"}},
        {{u"Tallowfern/Models/a.bin"_s, "a"}, {u"Tallowfern/.hidden"_s, "h"}, {u"Tallowfern/history.json"_s, "[]"}}},
    {"both: what stands only in the earlier one moves, and that is gone when empty",
        {{u"Quorvane Plus/Models/a.bin"_s, "a"}, {u"Quorvane Plus/Other/deep/x"_s, "x"},
            {u"Tallowfern/Models/b.bin"_s, "b"}},
        {{u"Tallowfern/Models/a.bin"_s, "a"}, {u"Tallowfern/Models/b.bin"_s, "b"}, {u"Tallowfern/Other/"_s, {}},
            {u"Tallowfern/Other/deep/"_s, {}}, {u"Tallowfern/Other/deep/x"_s, "x"}}},
    {"the same file in both: the present one wins, the other stays where it is",
        {{u"Quorvane Plus/Models/a.bin"_s, "old"}, {u"Quorvane Plus/Models/c.bin"_s, "c"},
            {u"Tallowfern/Models/a.bin"_s, "new"}},
        {{u"Quorvane Plus/"_s, {}}, {u"Quorvane Plus/Models/"_s, {}}, {u"Quorvane Plus/Models/a.bin"_s, "old"},
            {u"Tallowfern/Models/a.bin"_s, "new"}, {u"Tallowfern/Models/c.bin"_s, "c"}}},
    {"a file where the other has a folder, both ways",
        {{u"Quorvane Plus/Recordings"_s, "file"}, {u"Quorvane Plus/history.json/x"_s, "x"},
            {u"Tallowfern/Recordings/"_s, {}}, {u"Tallowfern/history.json"_s, "[]"}},
        {{u"Quorvane Plus/"_s, {}}, {u"Quorvane Plus/Recordings"_s, "file"}, {u"Quorvane Plus/history.json/"_s, {}},
            {u"Quorvane Plus/history.json/x"_s, "x"}, {u"Tallowfern/history.json"_s, "[]"}}},
    {"links: those of the user lead on, those in the earlier folder move as they are",
        {{u"disk/"_s, {}}, {u"Tallowfern/Models"_s, "-> ../disk"}, {u"Quorvane Plus/Models/a.bin"_s, "a"},
            {u"Quorvane Plus/dangling"_s, "-> /nowhere"}},
        {{u"disk/"_s, {}}, {u"disk/a.bin"_s, "a"}, {u"Tallowfern/Models"_s, "-> ../disk"},
            {u"Tallowfern/dangling"_s, "-> /nowhere"}}},
};

TEST(AppPaths, PreparingBringsTheEarlierDataAlongAndOverwritesNothing)
{
    for (const Case& each : kCases) {
        const QTemporaryDir base;
        plant(base.path(), each.before);
        Tree expected = kFolders;
        expected.insert(each.after);
        if (each.after.contains(u"Tallowfern/Models"_s))
            expected.remove(u"Tallowfern/Models/"_s);
        for (int time = 1; time <= 2; ++time) {
            AppPaths(base.path()).prepare();
            Tree found = treeOf(base.path());
            for (QByteArray& content : found)
                content.replace(QFile::encodeName(base.path() + u'/'), "../");
            EXPECT_EQ(found, expected) << each.name << ", time " << time << ": "
                                       << found.keys().join(u", "_s).toStdString();
        }
    }
}

TEST(AppPaths, TheFoldersArePrivate)
{
    const QTemporaryDir base;
    AppPaths(base.filePath(u"new/below"_s)).prepare();
    for (const QString& name :
        {u""_s, u"/Tallowfern"_s, u"/Tallowfern/Recordings"_s, u"/Tallowfern/Agent/Attachments"_s}) {
        struct stat information { };
        ASSERT_EQ(::stat(QFile::encodeName(base.filePath(u"new/below"_s) + name).constData(), &information), 0);
        EXPECT_EQ(information.st_mode & 0777, 0700u) << name.toStdString();
    }
}

TEST(AppPaths, AFileInTheWayIsToldAndWhatWasDoneStays)
{
    const QTemporaryDir base;
    plant(base.path(), {{u"Tallowfern/Agent"_s, "file"}});
    EXPECT_THROW(AppPaths(base.path()).prepare(), SystemError);
    EXPECT_TRUE(QFileInfo(AppPaths(base.path()).agentModels()).isDir());
    EXPECT_FALSE(QFileInfo::exists(AppPaths(base.path()).recordings()));
}

} // namespace
} // namespace tallowfern
