#include "foundation/Files.h"
#include "foundation/LocalizedError.h"
#include "support/FullDisk.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using testing_support::FullDisk;

int modeOf(const QString& path)
{
    struct stat information { };
    ::stat(QFile::encodeName(path).constData(), &information);
    return information.st_mode & 0777;
}

TEST(Files, AFullDiskLeavesTheOldFileAndNothingElse)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"state.json"_s);
    writeFileAtomically(path, {"old"});
    {
        const FullDisk disk(1000);
        const QByteArray big(5000, 'x');
        EXPECT_THROW(writeFileAtomically(path, {big}), SystemError);
    }
    EXPECT_EQ(readFile(path), QByteArray("old"));
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    writeFileAtomically(path, {"a", "bc"});
    EXPECT_EQ(readFile(path), QByteArray("abc"));
}

TEST(Files, AMoveReplacesWholeOrNotAtAllAlsoBetweenDisks)
{
    const QTemporaryDir folder;
    const QTemporaryDir memory(u"/dev/shm/tallowfern-XXXXXX"_s); // a disk of its own on every Linux that has it
    const QString target = folder.filePath(u"target"_s);
    for (const QTemporaryDir* from : {&folder, &memory}) {
        const QString source = from->filePath(u"source"_s);
        const QByteArray bytes = from->path().toUtf8();
        QFile file(source);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.setPermissions(QFile::Permissions(0x6444));
        file.write(bytes);
        file.close();
        moveFile(source, target);
        EXPECT_EQ(readFile(target), bytes);
        EXPECT_EQ(modeOf(target), 0600);
        EXPECT_FALSE(QFile::exists(source));
    }
    const QString big = memory.filePath(u"big"_s);
    writeFileAtomically(big, {QByteArray(100'000, 'x')});
    {
        const FullDisk disk(1000);
        EXPECT_THROW(moveFile(big, target), SystemError);
    }
    EXPECT_TRUE(QFile::exists(big));
    EXPECT_EQ(readFile(target), memory.path().toUtf8());
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

TEST(Files, EverythingIsPrivateToTheUser)
{
    const QTemporaryDir folder;
    const QString inner = folder.filePath(u"a/b/c"_s);
    ::umask(0);
    makePrivateFolder(inner);
    makePrivateFolder(inner);
    writeFileAtomically(inner + u"/file"_s, {"x"});
    ::umask(022);
    EXPECT_EQ(modeOf(folder.filePath(u"a"_s)), 0700);
    EXPECT_EQ(modeOf(inner), 0700);
    EXPECT_EQ(modeOf(inner + u"/file"_s), 0600);
    EXPECT_THROW(makePrivateFolder(inner + u"/file/below"_s), SystemError);
}

TEST(Files, AbsentAndUnreadableAreDifferentAnswers)
{
    const QTemporaryDir folder;
    EXPECT_FALSE(readFile(folder.filePath(u"absent"_s)).has_value());
    EXPECT_THROW(readFile(folder.path()), SystemError);
}

TEST(Files, DamagedFilesAreKeptBesideEachOther)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"history.json"_s);
    const QDateTime when(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    for (const char* content : {"first", "second"}) {
        writeFileAtomically(path, {content});
        setAsideDamagedFile(path, when);
    }
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_EQ(readFile(path + u".damaged-20260102-030405"_s), QByteArray("first"));
    EXPECT_EQ(readFile(path + u".damaged-20260102-030405-2"_s), QByteArray("second"));
}

} // namespace
} // namespace tallowfern
