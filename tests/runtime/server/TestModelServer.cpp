#include "runtime/server/ModelServer.h"

#include "fakes/FakeProcessLauncher.h"
#include "fakes/VirtualClock.h"
#include "foundation/LocalizedError.h"
#include "support/Await.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing_support::Outcome;

namespace {

/// A server that the test plays, on a computer with as much memory as it says.
class ModelServerTest : public testing::Test {
protected:
    ModelServerTest()
    {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder.path()));
        setFreeGigabytes(16);
        files = {u"Qwen Writer"_s, u"/bin/sh"_s, fileOf(u"m.gguf"_s, 2'000'000'000), std::nullopt};
    }
    void setFreeGigabytes(double gigabytes)
    {
        QDir(folder.path()).mkpath(u"proc"_s);
        QFile file(folder.filePath(u"proc/meminfo"_s));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("MemAvailable: " + QByteArray::number(qint64(gigabytes * 1e9 / 1024)) + " kB\n");
    }
    QString fileOf(const QString& name, qint64 size)
    {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(size));
        return file.fileName();
    }
    Outcome<ServedModel> serve() { return testing_support::start(server.serve(files, stop.get_token())); }
    void listens(const QByteArray& port)
    {
        launcher.writesError("I srv: listening on http://127.0.0.1:" + port + "\n");
        clock.settle();
    }
    ServedModel serveAtOnce()
    {
        const auto served = serve();
        clock.settle();
        listens("4000");
        EXPECT_TRUE(served.isDone());
        return served.value();
    }
    template <class T>
    static QString failure(const Outcome<T>& outcome)
    {
        try {
            EXPECT_TRUE(outcome.isDone());
            outcome.value();
        } catch (const LocalizedError& error) {
            return error.description();
        }
        return u"none"_s;
    }
    QString argument(const QString& name) const
    {
        const QStringList& all = launcher.requests.back().arguments;
        return all.value(all.indexOf(name) + 1);
    }

    QTemporaryDir folder;
    VirtualClock clock;
    FakeProcessLauncher launcher;
    ModelServer server{clock, launcher, folder.path()};
    ModelFiles files;
    std::stop_source stop;
};

TEST_F(ModelServerTest, StartsOnceAndStaysWarmForTheSameFiles)
{
    const auto first = serve();
    clock.settle();
    EXPECT_FALSE(first.isDone());
    listens("4000");
    const ServedModel served = first.value();
    EXPECT_EQ(served.address, QUrl(u"http://127.0.0.1:4000"_s));
    EXPECT_EQ(served.contextTokens, 8192);
    EXPECT_EQ(served.key.reveal().size(), 32);
    server.rest();
    clock.advance(299);
    const auto second = serve();
    clock.settle();
    EXPECT_EQ(second.value().key, served.key);
    EXPECT_EQ(launcher.requests.size(), 1U);
    clock.advance(1000);
    EXPECT_FALSE(launcher.wasAskedToEnd()); // the turn is not over
}

TEST_F(ModelServerTest, KeepsTheKeyOutOfArgumentsAndEnvironment)
{
    qputenv("LLAMA_ARG_HOST", "0.0.0.0");
    const ServedModel served = serveAtOnce();
    const ProcessRequest& request = launcher.requests.back();
    const QString key = QString::fromUtf8(served.key.reveal());
    EXPECT_FALSE(request.arguments.join(u' ').contains(key));
    EXPECT_FALSE(request.environment.values().contains(key));
    EXPECT_TRUE(request.withoutEnvironment.contains(u"LLAMA_ARG_HOST"_s));
    EXPECT_EQ(request.descriptors.size(), 2); // the key's and the lock's
    EXPECT_EQ(argument(u"--api-key-file"_s), u"/dev/fd/%1"_s.arg(request.descriptors.front()));
    EXPECT_EQ(argument(u"--host"_s), u"127.0.0.1"_s);
    qunsetenv("LLAMA_ARG_HOST");
}

TEST_F(ModelServerTest, StopsWhenIdle)
{
    serveAtOnce();
    server.rest();
    clock.advance(299);
    EXPECT_FALSE(launcher.wasAskedToEnd());
    clock.advance(1);
    EXPECT_TRUE(launcher.wasAskedToEnd());
    EXPECT_TRUE(launcher.isRunning());
    clock.advance(1);
    EXPECT_FALSE(launcher.isRunning()); // killed: it did not listen
}

TEST_F(ModelServerTest, EndsOneModelBeforeItStartsAnother)
{
    serveAtOnce();
    files.modelPath = fileOf(u"other.gguf"_s, 1000);
    const auto other = serve();
    clock.settle();
    EXPECT_TRUE(launcher.wasAskedToEnd());
    EXPECT_EQ(launcher.requests.size(), 1U);
    launcher.exits(0);
    clock.settle();
    EXPECT_EQ(launcher.requests.size(), 2U);
    listens("4001");
    EXPECT_EQ(other.value().address, QUrl(u"http://127.0.0.1:4001"_s));
}

TEST_F(ModelServerTest, GoesOnLoadingForTheNextTurnWhenOneIsStopped)
{
    const auto first = serve();
    clock.advance(28);
    stop.request_stop();
    clock.settle();
    EXPECT_NE(failure(first), u"none"_s);
    server.rest();
    clock.advance(20);
    stop = {};
    const auto second = serve();
    clock.settle();
    EXPECT_FALSE(second.isDone());
    listens("4000");
    EXPECT_TRUE(second.isDone());
    EXPECT_EQ(launcher.requests.size(), 1U);
}

TEST_F(ModelServerTest, SaysWhyItEndedAndStartsAnew)
{
    const auto served = serve();
    clock.settle();
    launcher.writesError("E gguf: invalid magic characters: 'abcd', expected 'GGUF'\n");
    launcher.exits(1);
    clock.settle();
    EXPECT_EQ(
        failure(served), u"Qwen Writer stopped: its file is damaged. Delete it under Models and download it again."_s);

    serveAtOnce();
    EXPECT_EQ(launcher.requests.size(), 2U);
    const auto lives = testing_support::start(server.endSentence());
    clock.advance(1);
    EXPECT_EQ(lives.value(), std::nullopt);
    const auto ends = testing_support::start(server.endSentence());
    clock.advance(0.2);
    launcher.isKilled(SIGKILL);
    clock.settle();
    EXPECT_EQ(ends.value(), u"Qwen Writer stopped: the system ended it, most likely for lack of memory."_s);

    serveAtOnce();
    EXPECT_EQ(launcher.requests.size(), 3U);
}

TEST_F(ModelServerTest, StartsOnlyWhatTheMemoryIsEnoughFor)
{
    const QString tooLittle = u"Qwen Writer needs about 3.0 GB of free memory, and 2.9 GB are free. Close some "
                              "applications or choose a smaller model."_s;
    struct Case {
        double freeGigabytes;
        qint64 projectorBytes;
        QString context;
        QString failure;
    };
    const Case cases[] = {
        {3.51, 0, u"8192"_s, {}},
        {3.49, 0, u"4096"_s, {}},
        {2.91, 0, u"4096"_s, {}},
        {2.99, 100'000'000, {}, tooLittle},
    };
    for (const Case& each : cases) {
        setFreeGigabytes(each.freeGigabytes);
        files.projectorPath.reset();
        if (each.projectorBytes > 0)
            files.projectorPath = fileOf(u"projector.gguf"_s, each.projectorBytes);
        launcher.requests.clear();
        const auto served = serve();
        clock.settle();
        if (each.failure.isEmpty()) {
            EXPECT_EQ(argument(u"-c"_s), each.context);
            launcher.exits(0);
        } else {
            EXPECT_EQ(failure(served), each.failure);
            EXPECT_TRUE(launcher.requests.empty());
        }
        clock.settle();
    }
}

TEST_F(ModelServerTest, SaysWhatIsNotInstalled)
{
    files.modelPath = u"/nowhere.gguf"_s;
    const auto model = serve();
    clock.settle();
    EXPECT_EQ(failure(model), u"Qwen Writer stopped: its file is missing. Download it again under Models."_s);
    files.modelPath = fileOf(u"m.gguf"_s, 10);
    files.program = u"/nowhere"_s;
    const auto program = serve();
    clock.settle();
    EXPECT_EQ(failure(program), u"Qwen Writer needs the program llama-server, which is not installed."_s);
    EXPECT_TRUE(launcher.requests.empty());
}

TEST_F(ModelServerTest, WaitsForADyingServerButNotForEver)
{
    const int lock
        = ::open(QFile::encodeName(folder.filePath(u"tallowfern-server.lock"_s)).constData(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    const auto patient = serve();
    clock.advance(1);
    EXPECT_TRUE(launcher.requests.empty());
    ::flock(lock, LOCK_UN);
    clock.advance(0.1);
    EXPECT_EQ(launcher.requests.size(), 1U);
    EXPECT_EQ(launcher.requests.back().descriptors.size(), 2);
    launcher.exits(1);
    clock.settle();

    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    const auto late = serve();
    clock.advance(2.4);
    EXPECT_EQ(launcher.requests.size(), 1U);
    clock.advance(0.2);
    EXPECT_EQ(launcher.requests.size(), 2U);
    EXPECT_EQ(launcher.requests.back().descriptors.size(), 1); // somebody else's lock is not ours to pass on
    ::close(lock);
}

TEST_F(ModelServerTest, CanBeStoppedAtAnyMoment)
{
    const int lock
        = ::open(QFile::encodeName(folder.filePath(u"tallowfern-server.lock"_s)).constData(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    const auto locked = serve();
    const auto noServer = testing_support::start(server.stop());
    clock.settle();
    EXPECT_TRUE(noServer.isDone());
    EXPECT_EQ(failure(locked), u"The model was stopped."_s);
    ::close(lock);

    launcher.startsWhen.emplace();
    const auto launching = serve();
    clock.settle();
    const auto whileLaunching = testing_support::start(server.stop());
    clock.settle();
    EXPECT_EQ(failure(launching), u"The model was stopped."_s);
    launcher.startsWhen->complete(true);
    clock.settle();
    EXPECT_TRUE(whileLaunching.isDone());
    EXPECT_FALSE(launcher.isRunning());
    launcher.startsWhen.reset();

    const auto loading = serve();
    clock.settle();
    const auto whileLoading = testing_support::start(server.stop());
    clock.settle();
    EXPECT_EQ(failure(loading), u"The model was stopped."_s);
    EXPECT_FALSE(whileLoading.isDone());
    launcher.exits(0);
    clock.settle();
    EXPECT_TRUE(whileLoading.isDone());
}

} // namespace

} // namespace tallowfern
