#include "agent/AgentConversationStore.h"

#include "fakes/VirtualClock.h"
#include "foundation/Files.h"
#include "support/FullDisk.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using testing_support::FullDisk;

class Conversations : public ::testing::Test {
protected:
    Conversations() { open(); }

    void open()
    {
        store.emplace(paths, clock);
        QObject::connect(&*store, &AgentConversationStore::conversationsChanged, &*store, [this] { ++changes; });
    }
    /// As the next start of the application finds it.
    void reopen()
    {
        store.reset();
        open();
    }
    AgentConversation conversation(const QString& title) const
    {
        AgentConversation made;
        made.id = QUuid::createUuid();
        made.title = title;
        made.createdAt = made.updatedAt = clock.wallNow();
        made.targetApplicationName = u"Editor"_s;
        return made;
    }
    QUuid add(const QString& title)
    {
        const AgentConversation made = conversation(title);
        store->add(made);
        return made.id;
    }
    QString titles() const
    {
        QString all;
        for (const AgentConversation& each : store->conversations())
            all += each.title;
        return all;
    }
    QByteArray saved() const { return readFile(paths.agentConversations()).value_or("none"); }
    QStringList beside() const
    {
        return QDir(paths.agentData()).entryList({u"conversations.json*"_s}, QDir::Files | QDir::Hidden);
    }

    const QTemporaryDir base;
    const AppPaths paths{base.path()};
    VirtualClock clock;
    int changes = 0;
    std::optional<AgentConversationStore> store;
};

TEST_F(Conversations, AChangeBringsAConversationToTheTopAndTheNextStartFindsAll)
{
    EXPECT_EQ(titles(), QString());
    const QUuid a = add(u"a"_s);
    const QUuid b = add(u"b"_s);
    add(u"c"_s);
    EXPECT_EQ(titles(), u"cba"_s);
    clock.advance(1);
    AgentContextAttachment attachment;
    attachment.id = QUuid::createUuid();
    attachment.text = u"selected"_s;
    attachment.createdAt = clock.wallNow();
    store->addUserMessage(u"Make it short 🙂"_s, {attachment}, a);
    EXPECT_EQ(titles(), u"acb"_s); // equal times keep their order
    clock.advance(1);
    store->setLastPastedText(u"Short."_s, b);
    EXPECT_EQ(titles(), u"bac"_s);
    clock.advance(1);
    store->addAssistantMessage(u"Short."_s, a);
    EXPECT_EQ(titles(), u"abc"_s);
    EXPECT_EQ(changes, 6);

    const auto changed = store->conversation(a).value();
    ASSERT_EQ(changed.messages.size(), 2);
    EXPECT_EQ(changed.messages[0].role, AgentMessageRole::User);
    EXPECT_EQ(changed.messages[0].attachments, QList{attachment});
    EXPECT_EQ(changed.messages[1].role, AgentMessageRole::Assistant);
    EXPECT_NE(changed.messages[0].id, changed.messages[1].id);
    EXPECT_EQ(changed.messages[1].createdAt, clock.wallNow());
    EXPECT_EQ(changed.updatedAt, clock.wallNow());
    EXPECT_EQ(store->conversation(b)->lastPastedText, u"Short."_s);

    const auto before = store->conversations();
    reopen();
    EXPECT_EQ(store->conversations(), before);
    EXPECT_TRUE(saved().startsWith("[\n    {\n        \"createdAt\": \"2026-01-15T09:00:00Z\",\n        \"id\": \""));
    store->setLastPastedText({}, b);
    reopen();
    EXPECT_EQ(store->conversation(b)->lastPastedText, std::nullopt);
}

TEST_F(Conversations, TheFileIsReadInAnyOrder)
{
    QList<AgentConversation> stored;
    for (const char16_t title : u"dcab"_s.toStdU16String()) {
        stored.append(conversation(QString(QChar(title))));
        stored.last().updatedAt = clock.wallNow().addSecs(title == u'c' || title == u'a' ? 60 : 0);
    }
    writeFileAtomically(paths.agentConversations(), {json::encodeForStorage(stored)});
    open();
    EXPECT_EQ(titles(), u"cadb"_s);
}

TEST_F(Conversations, WhatIsGoneStaysGone)
{
    const QUuid kept = add(u"k"_s);
    const QUuid gone = add(u"g"_s);
    const QString folder = store->attachmentsFolder(gone);
    EXPECT_EQ(QFileInfo(folder).fileName(), gone.toString(QUuid::WithoutBraces).toUpper());
    for (const QString& path : {folder, store->attachmentsFolder(kept), paths.agentAttachments() + u"/pending"_s}) {
        makePrivateFolder(path);
        writeFileAtomically(path + u"/shot.png"_s, {"picture"});
    }
    store->remove(gone);
    EXPECT_EQ(store->conversation(gone), std::nullopt);
    const int before = changes;
    store->addUserMessage(u"late"_s, {}, gone);
    store->setLastPastedText(u"late"_s, gone);
    EXPECT_EQ(changes, before);
    reopen();
    EXPECT_EQ(titles(), u"k"_s);
    EXPECT_FALSE(QFileInfo::exists(folder));
    EXPECT_TRUE(QFileInfo::exists(store->attachmentsFolder(kept) + u"/shot.png"_s));
    EXPECT_TRUE(QFileInfo::exists(paths.agentAttachments() + u"/pending/shot.png"_s));
    store->remove(kept); // and a second time without a folder
    store->remove(kept);
    store.reset();
    EXPECT_EQ(saved().trimmed(), "[\n]");
}

TEST_F(Conversations, ADamagedFileIsKeptBesideTheNewOneOnceThereIsOne)
{
    for (const QByteArray& bytes : {QByteArray(), QByteArray("{}"), QByteArray("[{}]"), QByteArray("[1")}) {
        store.reset();
        writeFileAtomically(paths.agentConversations(), {bytes});
        reopen();
        EXPECT_EQ(titles(), QString());
        reopen();
        EXPECT_EQ(saved(), bytes);
        add(u"n"_s);
        add(u"m"_s);
        reopen();
        EXPECT_EQ(titles(), u"mn"_s);
        ASSERT_EQ(beside().size(), 2) << bytes.constData();
        EXPECT_EQ(readFile(paths.agentData() + u'/' + beside().last()), bytes);
        QFile::remove(paths.agentData() + u'/' + beside().last());
    }
}

TEST_F(Conversations, AFileThatCannotBeReadIsLeftAlone)
{
    store.reset();
    ASSERT_TRUE(QDir().mkpath(paths.agentConversations() + u"/inside"_s));
    open();
    add(u"n"_s);
    EXPECT_EQ(titles(), u"n"_s);
    store.reset();
    EXPECT_TRUE(QFileInfo::exists(paths.agentConversations() + u"/inside"_s));
    EXPECT_EQ(QDir(paths.agentData()).entryList({u"conversations.json*"_s}).size(), 1);
}

TEST_F(Conversations, WhatAFullDiskRefusesIsWrittenWithTheNextChangeOrAtTheEnd)
{
    add(u"a"_s);
    reopen();
    for (const bool changesAgain : {true, false}) {
        {
            const FullDisk disk(10);
            add(u"b"_s);
            disk.waitForRefusals(1);
            EXPECT_THAT(saved().toStdString(), ::testing::HasSubstr("\"a\""));
        }
        if (changesAgain)
            add(u"c"_s);
        const QString shown = titles();
        reopen();
        EXPECT_EQ(titles(), shown);
    }
    writeFileAtomically(paths.agentData() + u"/conversations.json.a1B2c3"_s, {"of one that was killed"});
    reopen();
    EXPECT_EQ(beside(), QStringList(u"conversations.json"_s));
}

} // namespace
} // namespace tallowfern
