#include "runtime/SessionStore.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QDateTime kNow(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
const QUuid kConversation(u"aaaaaaaa-1111-2222-3333-444444444444"_s);

struct Bench {
    SessionMessage message(const QString& text, AgentMessageRole role = AgentMessageRole::User)
    {
        return {role, text, {}};
    }
    void write(const QByteArray& bytes)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QTemporaryDir folder;
    QString path = folder.filePath(u"sessions.sqlite"_s);
    QStringList complaints;
    SessionStore store{[this](const QString& sentence) { complaints.append(sentence); }};
};

} // namespace

TEST(SessionStore, KeepsAConversationAcrossProcessesAndApartFromOthers)
{
    Bench bench;
    AgentContextAttachment attachment;
    attachment.id = QUuid::createUuid();
    attachment.text = u"chosen"_s;
    attachment.createdAt = kNow;
    const SessionMessage first{AgentMessageRole::User, u"eins\0zwei 'drei' — 😀"_s, {attachment}};
    bench.store.append(bench.path, kConversation, first, kNow);
    bench.store.append(bench.path, QUuid::createUuid(), bench.message(u"other"_s), kNow);
    SessionStore predecessor([](const QString&) { FAIL(); });
    predecessor.append(bench.path, kConversation, bench.message(u"answer"_s, AgentMessageRole::Assistant), kNow);
    const auto found = bench.store.messages(bench.path, kConversation);
    EXPECT_EQ(found, QList({first, bench.message(u"answer"_s, AgentMessageRole::Assistant)}));
    EXPECT_EQ(bench.complaints, QStringList());
}

TEST(SessionStore, SetsADamagedFileAsideAndGoesOn)
{
    Bench bench;
    bench.write(QByteArray(5000, 'x'));
    bench.store.append(bench.path, kConversation, bench.message(u"one"_s), kNow);
    EXPECT_EQ(bench.store.messages(bench.path, kConversation).size(), 1);
    EXPECT_EQ(QDir(bench.folder.path()).entryList({u"sessions.sqlite.damaged-*"_s}).size(), 1);
    EXPECT_EQ(bench.complaints, QStringList());
}

TEST(SessionStore, LeavesANewerFileAndAPlaceWithoutRoomAlone)
{
    Bench bench;
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(bench.path.toUtf8().constData(), &database), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(database, "PRAGMA user_version = 2; CREATE TABLE novel (x);", nullptr, nullptr, nullptr),
            SQLITE_OK);
        sqlite3_close(database);
    }
    QFile file(bench.path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    bench.store.append(bench.path, kConversation, bench.message(u"one"_s), kNow);
    EXPECT_EQ(bench.store.messages(bench.path, kConversation).size(), 0);
    file.seek(0);
    EXPECT_EQ(file.readAll(), before);
    const QString nowhere = bench.folder.filePath(u"missing/sessions.sqlite"_s);
    bench.store.append(nowhere, kConversation, bench.message(u"one"_s), kNow);
    EXPECT_EQ(bench.complaints.size(), 3);
}

} // namespace tallowfern
