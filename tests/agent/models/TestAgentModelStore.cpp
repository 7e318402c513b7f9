#include "agent/models/AgentModelCatalog.h"
#include "agent/models/AgentModelStore.h"

#include "fakes/FakeDownloader.h"
#include "foundation/Files.h"
#include "support/Await.h"

#include <gmock/gmock.h>

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using testing_support::Outcome;
using Role = AgentModelArtifact::Role;

AgentModelArtifact file(const QString& name, const QByteArray& bytes, qint64 byteSize, Role role = Role::Model)
{
    const QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
    return {name, u"/org/"_s + name + u"?download=true"_s, byteSize, QString::fromLatin1(digest), role};
}

AgentModelDescriptor localModel(const QString& id = u"tiny"_s)
{
    AgentModelDescriptor model = agentModelCatalog()[1];
    model.id = id;
    model.artifacts = {file(u"words.gguf"_s, "words", 100), file(u"eyes.gguf"_s, "eyes", 300, Role::VisionProjector)};
    return model;
}

/// A store, what it published in order, and the disk that it works on.
class AgentModels : public ::testing::Test {
protected:
    AgentModels() { open(); }

    void open()
    {
        store = std::make_unique<AgentModelStore>(paths, downloader, [this] { return hub; });
        QObject::connect(store.get(), &AgentModelStore::progressChanged, store.get(),
            [this] { published.append(QString::number(store->progress().value(model.id, -1))); });
        QObject::connect(
            store.get(), &AgentModelStore::revisionChanged, store.get(), [this] { published.append(u"revision"_s); });
    }
    Outcome<void> start() { return testing_support::start(store->download(model)); }
    static void turnUntil(const std::function<bool()>& happened)
    {
        while (!happened())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    void turnUntilTransfers(int count)
    {
        turnUntil([&] { return downloader.transfers.size() == count; });
    }
    QString ending(const Outcome<void>& outcome)
    {
        turnUntil([&] { return outcome.isDone(); });
        try {
            outcome.value();
            return u"done"_s;
        } catch (const LocalizedError& error) {
            return error.description();
        }
    }
    void put(int artifact, const QByteArray& bytes)
    {
        makePrivateFolder(paths.agentModels() + u'/' + model.id);
        writeFileAtomically(place(artifact), {bytes});
    }
    QString place(int artifact) const { return store->localPath(model, model.artifacts[artifact]); }
    QByteArray there(int artifact) const
    {
        return QFileInfo(place(artifact)).isFile() ? readFile(place(artifact)).value_or("nothing") : "nothing";
    }
    QString temporary() const { return base.filePath(u"fetched"_s); }

    const QTemporaryDir base;
    const AppPaths paths{base.path()};
    FakeDownloader downloader;
    QString hub = u"https://hub/base/"_s;
    AgentModelDescriptor model = localModel();
    QStringList published;
    std::unique_ptr<AgentModelStore> store;
};

TEST_F(AgentModels, WhatNeedsNoFilesIsThereAndNeverFetched)
{
    for (const int row : {0, 7, 13}) {
        EXPECT_TRUE(store->isAvailable(agentModelCatalog()[row]));
        EXPECT_EQ(ending(testing_support::start(store->download(agentModelCatalog()[row]))), u"done"_s);
        store->remove(agentModelCatalog()[row]);
    }
    model.artifacts.clear();
    EXPECT_FALSE(store->isAvailable(model));
    EXPECT_EQ(ending(start()), u"done"_s);
    EXPECT_TRUE(downloader.transfers.isEmpty());
    EXPECT_TRUE(published.isEmpty());
}

TEST_F(AgentModels, ADownloadIsJoinedToldCheckedAndPutInPlace)
{
    const auto first = start();
    const auto second = start();
    ASSERT_EQ(downloader.transfers.size(), 1);
    EXPECT_EQ(downloader.transfers[0].url.toString(), u"https://hub/base/org/words.gguf?download=true"_s);
    for (const double fraction : {0.505, 1.0})
        downloader.transfers[0].progress(fraction);
    downloader.succeed(0, temporary(), "words");
    turnUntilTransfers(2);
    EXPECT_FALSE(store->isAvailable(model));
    EXPECT_EQ(store->activeDownloads(), QStringList(model.id));
    downloader.transfers[1].progress(1);
    downloader.succeed(1, temporary(), "eyes");
    EXPECT_EQ(ending(first), u"done"_s);
    EXPECT_TRUE(second.isDone());
    EXPECT_EQ(published.join(u' '), u"0 0.125 0.25 0.25 0.99 1 revision -1"_s);
    EXPECT_TRUE(store->isAvailable(model));
    EXPECT_EQ(there(0) + there(1), "wordseyes");
    EXPECT_FALSE(QFileInfo::exists(temporary()));
    downloader.transfers[1].progress(0.5); // late
    EXPECT_TRUE(store->activeDownloads().isEmpty());
    EXPECT_EQ(ending(start()), u"done"_s);
    EXPECT_EQ(downloader.transfers.size(), 2);
}

TEST_F(AgentModels, OnlyWhatIsMissingOrWrongIsFetched)
{
    put(0, "words");
    auto download = start();
    turnUntilTransfers(1);
    EXPECT_TRUE(downloader.transfers[0].url.path().endsWith(u"eyes.gguf"_s));
    downloader.transfers[0].progress(0);
    downloader.succeed(0, temporary(), "eyes");
    EXPECT_EQ(ending(download), u"done"_s);
    EXPECT_EQ(published.join(u' '), u"0 0.25 1 revision -1"_s);

    QFile::remove(place(1));
    put(0, "other words");
    download = start();
    turnUntilTransfers(2);
    EXPECT_EQ(there(0), "other words");
    downloader.fail(1);
    EXPECT_EQ(ending(download), u"The line is dead."_s);
    EXPECT_EQ(there(0), "other words");
    download = start();
    turnUntilTransfers(3);
    downloader.succeed(2, temporary(), "words");
    turnUntilTransfers(4);
    EXPECT_EQ(there(0), "words");
    downloader.succeed(3, temporary(), "eyes");
    EXPECT_EQ(ending(download), u"done"_s);
}

TEST_F(AgentModels, AFailureIsToldAndClearsTheEntry)
{
    struct Case {
        std::function<void()> prepare;
        std::function<void()> transfer;
        QString sentence;
    };
    const Case cases[] = {
        {[] {}, [this] { downloader.fail(0); }, u"The line is dead."_s},
        {[] {}, [this] { downloader.succeed(0, temporary(), "swords"); },
            u"The downloaded words.gguf failed its integrity check."_s},
        {[] {}, [this] { downloader.transfers[0].path.complete(base.filePath(u"gone"_s)); }, u"gone: "_s},
        {[this] { QDir().mkpath(place(0) + u"/in the way"_s); }, nullptr, u"words.gguf: "_s},
        {[] {},
            [this] {
                QDir().mkpath(place(0) + u"/in the way"_s);
                downloader.succeed(0, temporary(), "words");
            },
            u"words.gguf: "_s},
        {[this] { hub.clear(); }, nullptr, u"TALLOWFERN_HUB"_s},
    };
    for (const Case& each : cases) {
        QDir(paths.agentModels() + u'/' + model.id).removeRecursively();
        downloader.transfers.clear();
        published.clear();
        each.prepare();
        const auto download = start();
        if (each.transfer)
            each.transfer();
        EXPECT_THAT(ending(download).toStdString(), ::testing::HasSubstr(each.sentence.toStdString()));
        EXPECT_EQ(published.join(u' '), u"0 -1"_s) << qPrintable(each.sentence);
        EXPECT_FALSE(QFileInfo::exists(temporary())) << qPrintable(each.sentence);
    }
}

TEST_F(AgentModels, AFolderThatCannotBeMadeLeavesTheModelDownloading)
{
    writeFileAtomically(paths.agentModels() + u"/tiny"_s, {"in the way"});
    EXPECT_NE(ending(start()), u"done"_s);
    EXPECT_EQ(store->activeDownloads(), QStringList(model.id));
    EXPECT_EQ(published, QStringList(u"0"_s));
    EXPECT_TRUE(downloader.transfers.isEmpty());
}

TEST_F(AgentModels, DeletingTakesTheFolderAndCountsAlsoWithoutOne)
{
    put(0, "words");
    store->remove(model);
    EXPECT_FALSE(QFileInfo::exists(paths.agentModels() + u"/tiny"_s));
    store->remove(model);
    EXPECT_EQ(store->revision(), 2);
    put(0, "words");
    for (const QString& outside : {QString(), u"."_s, u".."_s, u"tiny/.."_s})
        store->remove(localModel(outside));
    EXPECT_EQ(there(0), "words");
    EXPECT_FALSE(QFileInfo::exists(paths.customAgentModels()));
}

TEST_F(AgentModels, CustomModelsAreThoseOfTheFileWhoseFilesAreThere)
{
    QList<AgentModelDescriptor> stored{localModel(), localModel(u"gone"_s), localModel(u"without"_s),
        agentModelCatalog()[8], localModel(u"../tiny"_s), localModel(u"qwen3-4b-q4"_s)};
    stored[2].artifacts.clear();
    for (AgentModelDescriptor& each : stored) {
        each.isCustom = true;
        each.name = u"Own"_s;
    }
    put(0, "words");
    put(1, "eyes");
    QFile::rename(paths.agentModels() + u"/tiny"_s, paths.agentModels() + u"/qwen3-4b-q4"_s);
    put(0, "words");
    put(1, "eyes");
    const QByteArray bytes = json::encodeForStorage(stored);
    writeFileAtomically(paths.customAgentModels(), {bytes});
    open();
    QStringList ids;
    for (const AgentModelDescriptor& each : store->customModels())
        ids.append(each.id);
    EXPECT_EQ(ids.join(u' '), u"tiny openai-terra qwen3-4b-q4"_s);
    EXPECT_EQ(store->descriptor(u"tiny"_s), stored[0]);
    EXPECT_EQ(store->descriptor(u"qwen3-4b-q4"_s), agentModelCatalog()[1]);
    EXPECT_EQ(store->descriptor(u"gone"_s), std::nullopt);

    store->remove(localModel()); // one of the catalogue, as far as it says
    store.reset();
    EXPECT_EQ(readFile(paths.customAgentModels()), bytes);
    open();
    store->remove(stored[5]);
    store.reset();
    const auto kept = readFile(paths.customAgentModels()).value_or(QByteArray());
    EXPECT_EQ(json::decode<QList<AgentModelDescriptor>>(kept), QList{stored[3]});
    EXPECT_FALSE(kept.contains('\n'));
}

TEST_F(AgentModels, ADamagedListOfCustomModelsIsKeptBesideTheNewOne)
{
    writeFileAtomically(paths.customAgentModels(), {"[{}]"});
    open();
    EXPECT_TRUE(store->customModels().isEmpty());
    model.isCustom = true;
    EXPECT_EQ(readFile(paths.customAgentModels()), QByteArray("[{}]"));
    store->remove(model);
    store.reset();
    EXPECT_EQ(readFile(paths.customAgentModels()), QByteArray("[]"));
    const QDir folder(paths.agentData());
    const QStringList aside = folder.entryList({u"custom-models.json.damaged-*"_s});
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(readFile(folder.filePath(aside.first())), QByteArray("[{}]"));
}

TEST_F(AgentModels, TheEndWaitsForNoTransferAndNoHash)
{
    const auto hashing = start();
    const auto transferring = testing_support::start(store->download(localModel(u"second"_s)));
    QFile big(temporary());
    ASSERT_TRUE(big.open(QIODevice::WriteOnly));
    ASSERT_TRUE(big.resize(64LL * 1024 * 1024 * 1024)); // sparse; hashing it takes half a minute and more
    QElapsedTimer timer;
    timer.start();
    downloader.transfers[0].path.complete(temporary());
    store.reset();
    EXPECT_LT(timer.elapsed(), 5000);
    downloader.transfers[1].progress(0.5);
    downloader.succeed(1, base.filePath(u"late"_s), "words");
    turnUntil([&] { return hashing.isDone() && transferring.isDone(); });
    EXPECT_FALSE(QFileInfo::exists(temporary()));
    EXPECT_FALSE(QFileInfo::exists(base.filePath(u"late"_s)));
}

} // namespace
} // namespace tallowfern
