#include "fakes/VirtualClock.h"
#include "foundation/Files.h"
#include "history/HistoryStore.h"
#include "support/FullDisk.h"

#include <QDir>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <optional>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using testing_support::FullDisk;

class History : public ::testing::Test {
protected:
    History() { open(); }

    /// As the next start of the application finds it.
    void reopen()
    {
        store.reset();
        open();
    }
    void open() { store.emplace(paths, clock); }

    HistoryItem item(const QString& text, double secondsAgo = 0, double duration = 1) const
    {
        const QDateTime when = clock.wallNow().addMSecs(static_cast<qint64>(-secondsAgo * 1000));
        return {QUuid::createUuid(), when, text, duration, u"pocket"_s, std::nullopt};
    }
    QStringList texts() const
    {
        QStringList all;
        for (const HistoryItem& each : store->items())
            all.append(each.text);
        return all;
    }
    QStringList filesNamed(const QString& pattern) const
    {
        return QDir(paths.root()).entryList({pattern}, QDir::Files | QDir::Hidden);
    }

    const QTemporaryDir base;
    const AppPaths paths{base.path()};
    VirtualClock clock;
    std::optional<HistoryStore> store;
};

TEST_F(History, TheNextStartFindsEverythingNewestFirst)
{
    EXPECT_THAT(texts(), ::testing::IsEmpty());
    // Nothing that can be said or pasted may make the file unreadable.
    const QStringList said = {u"plain"_s, u"\"quoted\" \\ ]\n}"_s, u"🙂 naïve \u2028 שלום"_s,
        QString(u"nul\0here"_s), QString(QChar(0xD800)) + u"lone"_s, QString(), QString(200'000, u'x')};
    QStringList expected;
    QList<HistoryItem> inOrder;
    for (const QString& text : said) {
        store->add(item(text));
        expected.prepend(text);
        if (text.startsWith(u'n'))
            reopen();
    }
    EXPECT_EQ(texts(), expected);
    const QList<HistoryItem> before = store->items();
    reopen();
    EXPECT_EQ(store->items(), before);
}

TEST_F(History, TheFileHasTheFormOfAListThatWasStoredWhole)
{
    store->add({QUuid(u"0a0b0c0d-0000-4000-8000-000000000001"_s), clock.wallNow().addMSecs(750), u"one"_s, 1.5,
        u"pocket"_s, std::nullopt});
    store->add(
        {QUuid(u"0a0b0c0d-0000-4000-8000-000000000002"_s), clock.wallNow(), u"two"_s, 2, u"pocket"_s, u"old.wav"_s});
    store.reset();
    EXPECT_EQ(readFile(paths.history()).value_or(QByteArray()).toStdString(), R"([
    {
        "audioFileName": "old.wav",
        "createdAt": "2026-01-15T09:00:00Z",
        "duration": 2,
        "id": "0A0B0C0D-0000-4000-8000-000000000002",
        "modelID": "pocket",
        "text": "two"
    },
    {
        "createdAt": "2026-01-15T09:00:00Z",
        "duration": 1.5,
        "id": "0A0B0C0D-0000-4000-8000-000000000001",
        "modelID": "pocket",
        "text": "one"
    }
]
)");
}

TEST_F(History, ADamagedFileIsKeptBesideTheNewOne)
{
    const QByteArray good = "{\"id\":\"0a0b0c0d-0000-4000-8000-000000000001\",\"createdAt\":\"2026-01-15T09:00:00Z\","
                            "\"text\":\"one\",\"duration\":1,\"modelID\":\"pocket\"}";
    const QByteArray damaged[] = {"", "{}", "null", "[" + good, "[" + good + ",{}]",
        "[" + QByteArray(good).replace("2026-01", "2026-13") + "]",
        "[" + QByteArray(good).replace("\"one\"", "null") + "]"};
    for (const QByteArray& bytes : damaged) {
        for (const bool whileRunning : {false, true}) {
            if (whileRunning && bytes.endsWith(']'))
                continue; // what is between the brackets is understood at the start only
            if (!whileRunning)
                store.reset();
            writeFileAtomically(paths.history(), {bytes});
            if (!whileRunning)
                open();
            const HistoryItem gone = item(u"gone"_s);
            store->add(gone);
            store->add(item(u"new"_s));
            store->deleteItem(gone);
            reopen();
            EXPECT_EQ(texts(), QStringList{u"new"_s}) << bytes.toStdString();
            const QStringList aside = filesNamed(u"history.json.damaged-*"_s);
            ASSERT_EQ(aside.size(), 1) << bytes.toStdString();
            EXPECT_EQ(readFile(paths.root() + u'/' + aside.first()), bytes);
            QFile::remove(paths.root() + u'/' + aside.first());
        }
    }
}

TEST_F(History, AFileThatCannotBeReadIsLeftAlone)
{
    store.reset();
    ASSERT_TRUE(QDir().mkpath(paths.history() + u"/inside"_s));
    open();
    store->add(item(u"in memory"_s));
    EXPECT_EQ(texts(), QStringList{u"in memory"_s});
    store.reset();
    EXPECT_TRUE(QDir(paths.history() + u"/inside"_s).exists());
}

TEST_F(History, WhatAFullDiskRefusesIsWrittenWithTheNextChange)
{
    store->add(item(u"before"_s));
    const HistoryItem second = item(u"second"_s);
    {
        reopen();
        const FullDisk disk(100);
        store->add(item(u"first"_s));
        store->add(second);
        disk.waitForRefusals(2);
        EXPECT_EQ(texts(), QStringList({u"second"_s, u"first"_s, u"before"_s}));
        EXPECT_THAT(readFile(paths.history())->toStdString(), ::testing::HasSubstr("before"));
    }
    store->deleteItem(second);
    reopen();
    EXPECT_EQ(texts(), QStringList({u"first"_s, u"before"_s}));
}

TEST_F(History, WhatAFullDiskRefusesIsTriedOnceMoreAtTheEnd)
{
    {
        const FullDisk disk(10);
        store->add(item(u"last words"_s));
        disk.waitForRefusals(1);
    }
    reopen();
    EXPECT_EQ(texts(), QStringList{u"last words"_s});
    EXPECT_EQ(filesNamed(u"*"_s), QStringList{u"history.json"_s});
}

TEST_F(History, DeletingTakesTheItemAndItsOldRecordingAndNothingElse)
{
    const QString beside = paths.root() + u"/beside.wav"_s;
    const QString own = paths.recordings() + u"/own.wav"_s;
    for (const QString& path : {beside, own, paths.recordings() + u"/beside.wav"_s})
        writeFileAtomically(path, {"sound"});
    HistoryItem withRecording = item(u"b"_s);
    withRecording.audioFileName = u"own.wav"_s;
    HistoryItem withMissing = item(u"d"_s);
    withMissing.audioFileName = u"missing.wav"_s;
    HistoryItem withPath = item(u"f"_s);
    withPath.audioFileName = u"../beside.wav"_s;
    for (const HistoryItem& each : {item(u"a"_s), withRecording, item(u"c"_s), withMissing, item(u"e"_s), withPath})
        store->add(each);

    int changes = 0;
    QObject::connect(&*store, &HistoryStore::itemsChanged, [&] { ++changes; });
    for (const HistoryItem& each : {withRecording, withMissing, withPath})
        store->deleteItem(each);
    EXPECT_EQ(changes, 3);
    EXPECT_FALSE(QFile::exists(own));
    EXPECT_TRUE(QFile::exists(beside));

    writeFileAtomically(own, {"sound"});
    store->deleteItem(withRecording); // no longer in the list
    EXPECT_FALSE(QFile::exists(own));
    EXPECT_EQ(texts(), QStringList({u"e"_s, u"c"_s, u"a"_s}));
    reopen();
    EXPECT_EQ(texts(), QStringList({u"e"_s, u"c"_s, u"a"_s}));
}

TEST_F(History, CountsTheMinutesOfTheLastSevenDays)
{
    constexpr double kWeek = 604800;
    EXPECT_EQ(store->minutesThisWeek(), 0);
    store->add(item(u"on the border"_s, kWeek, 6000));
    store->add(item(u"long ago"_s, 2 * kWeek, 6000));
    store->add(item(u"just within"_s, kWeek - 1, 29));
    EXPECT_EQ(store->minutesThisWeek(), 0);
    store->add(item(u"now"_s, 0, 1));
    EXPECT_EQ(store->minutesThisWeek(), 1);
    clock.advance(1);
    EXPECT_EQ(store->minutesThisWeek(), 0);
}

} // namespace
} // namespace tallowfern
