#include "speech/ModelStore.h"
#include "speech/ModelWarmer.h"

#include "fakes/FakeDownloader.h"
#include "foundation/LocalizedError.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const SpeechModel kPocket = SpeechModel::catalog().first();

ModelFingerprint fingerprint(const QByteArray& bytes)
{
    return {bytes.size(), QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()};
}

/// A disk on which every start of the application makes a store anew.
struct Disk {
    std::unique_ptr<ModelStore> start()
    {
        return std::make_unique<ModelStore>(
            paths, downloader, [this] { return hub; }, bundledPath,
            QList{fingerprint("old stand-in"), fingerprint("stand-in")});
    }
    /// Starts, and waits until the store knows what it has.
    std::unique_ptr<ModelStore> startAndExamine()
    {
        auto store = start();
        bool known = false;
        QObject::connect(store.get(), &ModelStore::standInChanged, store.get(), [&] { known = true; });
        while (!known)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return store;
    }
    static void write(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    void bundle(const QByteArray& bytes)
    {
        bundledPath = folder.filePath(u"bundled.bin"_s);
        write(*bundledPath, bytes);
    }
    QString installedPath() const { return paths.models() + u'/' + kPocket.fileName; }
    QByteArray installed() const
    {
        QFile file(installedPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    }

    QTemporaryDir folder;
    AppPaths paths{folder.path()};
    std::optional<QString> bundledPath;
    FakeDownloader downloader;
    QString hub = u"http://hub/base"_s;
};

/// A store with a download of the second model, and what it published.
struct Downloading : Disk {
    Downloading()
    {
        QObject::connect(store.get(), &ModelStore::progressChanged, store.get(),
            [this] { published.append(store->progress().value(model.id, -1)); });
    }
    std::optional<QString> wait(const ModelStore::Download& download)
    {
        while (!download.isComplete())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return download.await_resume();
    }
    QString temporary() const { return folder.filePath(u"fetched"_s); }
    QByteArray installedBytes() const
    {
        QFile file(store->localPath(model));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    }

    SpeechModel model = SpeechModel::catalog().at(1);
    QList<double> published;
    std::unique_ptr<ModelStore> store = start();
};

} // namespace

TEST(ModelStore, PutsTheBundledModelInPlaceAndFindsItAgain)
{
    Disk disk;
    EXPECT_FALSE(disk.start()->isInstalled(kPocket));
    EXPECT_EQ(disk.start()->revision(), 0);

    disk.bundle("model");
    const auto store = disk.start();
    EXPECT_TRUE(store->isInstalled(kPocket));
    EXPECT_EQ(store->revision(), 1);
    EXPECT_EQ(disk.installed(), "model");
    EXPECT_EQ(QFileInfo(disk.installedPath()).permissions() & ~(QFile::ReadUser | QFile::WriteUser),
        QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_EQ(disk.start()->revision(), 0);

    store->deleteModel(kPocket);
    EXPECT_FALSE(store->isInstalled(kPocket));
    EXPECT_EQ(store->revision(), 2);
    store->deleteModel(kPocket);
    EXPECT_EQ(store->revision(), 2);
    EXPECT_TRUE(disk.start()->isInstalled(kPocket)); // deleted by the user, and back at the next start
}

TEST(ModelStore, FailedCopyLeavesNothingThatLooksInstalled)
{
    Disk disk;
    disk.bundledPath = disk.folder.filePath(u"missing.bin"_s);
    EXPECT_EQ(disk.start()->revision(), 1);
    disk.bundledPath = disk.folder.path(); // a folder cannot be read as a file
    EXPECT_EQ(disk.start()->revision(), 1);
    EXPECT_TRUE(QDir(disk.paths.models()).isEmpty());
}

TEST(ModelStore, FailedDeletionIsTold)
{
    Disk disk;
    const auto store = disk.start();
    ASSERT_TRUE(QDir().mkpath(disk.installedPath() + u"/in the way"_s)); // a folder is no file to be removed
    EXPECT_THROW(store->deleteModel(kPocket), SystemError);
    EXPECT_EQ(store->revision(), 0);
}

TEST(ModelStore, OnlyAStandInGivesWayToWhatIsBundled)
{
    struct Case {
        QByteArray installed;
        QByteArray bundled;
        QByteArray after;
        bool isStandIn;
    };
    const Case cases[] = {
        {"stand-in", "real model", "real model", false},
        {"stand-in", "stand-in", "stand-in", true},
        {"old stand-in", "stand-in", "stand-in", true},
        {"the user's own", "real model", "the user's own", false},
        {"stand-ix", "real model", "stand-ix", false}, // same length, other bytes
        {"", "real model", "", false},
    };
    for (const Case& given : cases) {
        Disk disk;
        disk.start();
        Disk::write(disk.installedPath(), given.installed);
        disk.bundle(given.bundled);
        const auto store = disk.startAndExamine();
        EXPECT_EQ(disk.installed(), given.after) << given.installed.data();
        EXPECT_EQ(store->isStandIn(kPocket), given.isStandIn) << given.installed.data();
        EXPECT_EQ(store->revision(), given.installed == given.after ? 0 : 1);
        EXPECT_FALSE(store->isStandIn(SpeechModel::catalog().at(1)));
        store->deleteModel(kPocket);
        EXPECT_FALSE(store->isStandIn(kPocket));
    }
}

TEST(ModelStoreDownload, IsJoinedToldAndPutInPlace)
{
    Downloading disk;
    const auto first = disk.store->startDownload(disk.model);
    const auto second = disk.store->startDownload(disk.model);
    ASSERT_EQ(disk.downloader.transfers.size(), 1);
    EXPECT_EQ(disk.store->activeDownloads(), QStringList(disk.model.id));
    EXPECT_EQ(disk.downloader.transfers[0].url.toString(), u"http://hub/base/"_s + disk.model.hubPath);
    for (const double fraction : {0.25, 1.5, -1.0})
        disk.downloader.transfers[0].progress(fraction);
    disk.downloader.succeed(0, disk.temporary(), "words");
    EXPECT_EQ(disk.wait(first), std::nullopt);
    EXPECT_TRUE(second.isComplete());
    EXPECT_EQ(disk.published, QList<double>({0, 0.25, 1, 0, -1}));
    EXPECT_EQ(disk.installedBytes(), "words");
    EXPECT_EQ(disk.store->revision(), 1);
    EXPECT_FALSE(QFileInfo::exists(disk.temporary()));

    disk.downloader.transfers[0].progress(0.5); // late
    EXPECT_TRUE(disk.store->activeDownloads().isEmpty());
    EXPECT_TRUE(disk.store->startDownload(disk.model).isComplete()) << "there already";
    EXPECT_EQ(disk.store->revision(), 1);
    EXPECT_EQ(disk.downloader.transfers.size(), 1);
}

TEST(ModelStoreDownload, AFailureIsToldAndANewTryMayFollow)
{
    Downloading disk;
    const auto first = disk.store->startDownload(disk.model);
    disk.downloader.fail(0);
    EXPECT_EQ(disk.wait(first), u"The line is dead."_s);
    EXPECT_TRUE(disk.store->progress().isEmpty());
    EXPECT_EQ(disk.store->revision(), 0);

    const auto second = disk.store->startDownload(disk.model);
    ASSERT_TRUE(QDir().mkpath(disk.store->localPath(disk.model) + u"/in the way"_s));
    disk.downloader.succeed(1, disk.temporary(), "words");
    EXPECT_NE(disk.wait(second), std::nullopt) << "it cannot be moved there";
    EXPECT_FALSE(QFileInfo::exists(disk.temporary()));
    QDir(disk.store->localPath(disk.model)).removeRecursively();

    disk.hub.clear();
    EXPECT_TRUE(disk.wait(disk.store->startDownload(disk.model))->contains(u"TALLOWFERN_HUB"_s));
    EXPECT_EQ(disk.downloader.transfers.size(), 2);
}

TEST(ModelStoreDownload, ASlowMoveHoldsUpNobody)
{
    Downloading disk;
    Disk::write(disk.installedPath(), "model");
    const auto download = disk.store->startDownload(disk.model);
    const QByteArray pipe = disk.temporary().toUtf8(); // opening it takes until somebody writes
    ASSERT_EQ(::mkfifo(pipe.constData(), 0600), 0);
    disk.downloader.transfers[0].path.complete(disk.temporary());
    disk.store->deleteModel(kPocket);
    EXPECT_FALSE(disk.store->isInstalled(kPocket));
    EXPECT_FALSE(download.isComplete());
    ::close(::open(pipe.constData(), O_WRONLY | O_CLOEXEC));
    disk.wait(download);
}

TEST(ModelStoreDownload, OutlivesItsStoreWithoutHarm)
{
    Downloading disk;
    disk.store->startDownload(disk.model);
    disk.store->startDownload(SpeechModel::catalog().at(2));
    disk.store.reset();
    disk.downloader.transfers[0].progress(0.5);
    disk.downloader.fail(0);
    disk.downloader.succeed(1, disk.temporary(), "words");
    EXPECT_FALSE(QFileInfo::exists(disk.temporary()));
}

TEST(ModelWarmer, EndsAtOnceInTheMiddleOfABigFile)
{
    QTemporaryDir folder;
    QFile file(folder.filePath(u"big.bin"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(file.resize(64LL * 1024 * 1024 * 1024)); // sparse; reading it through would take a minute
    QElapsedTimer timer;
    timer.start();
    {
        ModelWarmer warmer;
        warmer.warm(file.fileName());
        warmer.warm(folder.filePath(u"missing.bin"_s));
    }
    EXPECT_LT(timer.elapsed(), 5000);
}

} // namespace tallowfern
