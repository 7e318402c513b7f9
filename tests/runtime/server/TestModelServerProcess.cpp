#include "foundation/LocalizedError.h"
#include "foundation/SystemClock.h"
#include "platform/linux/process/LinuxProcessLauncher.h"
#include "runtime/server/ModelServer.h"
#include "runtime/server/ServerLog.h"
#include "support/Await.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing_support::await;

namespace {

/// The llama-server that scripts/engines --writing has built.
QString builtServer()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)
        + u"/tallowfern-engines/writing/llama-server"_s;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The running processes whose command line holds the word.
QList<qint64> processesWith(const QString& word)
{
    QList<qint64> found;
    for (const QString& entry : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        const qint64 number = entry.toLongLong();
        if (number > 0 && contentOf(u"/proc/%1/cmdline"_s.arg(entry)).contains(word.toUtf8()) && number != ::getpid())
            found.append(number);
    }
    return found;
}

bool becomesTrue(const std::function<bool()>& condition, int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    return condition();
}

enum class Engine { StandIn, Built };

/// Real children: the stand-in, and the real llama-server with a tiny model where it was built.
class ModelServerProcess : public testing::TestWithParam<Engine> {
protected:
    void SetUp() override
    {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder.path()));
        files.name = u"Model"_s;
        files.program = isBuilt() ? builtServer() : QStringLiteral(STAND_IN);
        if (!QFile::exists(files.program))
            GTEST_SKIP() << "llama-server is not there; scripts/engines --writing builds it";
        if (isBuilt() && QProcess::execute(u"/usr/bin/python3"_s, {u"-c"_s, u"import numpy, yaml"_s}) != 0)
            GTEST_SKIP() << "the tiny model needs python3-numpy and python3-yaml";
        files.modelPath = model(u"m.gguf"_s, R"({"text":"Hello there."})");
        std::printf("with %s\n", qUtf8Printable(files.program));
    }
    /// No test leaves a process behind, not even a dead one.
    void TearDown() override
    {
        await(server.stop());
        EXPECT_TRUE(becomesTrue([&] { return processesWith(folder.path()).isEmpty(); }, 5000));
        siginfo_t child{};
        EXPECT_TRUE(becomesTrue([&] { return ::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) != 0; }, 5000));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    bool isBuilt() const { return GetParam() == Engine::Built; }
    QString path(const QString& name) const { return folder.filePath(name); }
    QString fileOf(const QString& name, const QByteArray& bytes)
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }
    QString model(const QString& name, const QByteArray& behaviour)
    {
        if (!isBuilt())
            return fileOf(name, "GGUF" + behaviour);
        QProcess writer;
        writer.start(u"/usr/bin/python3"_s, {QStringLiteral(TINY_WRITER), path(name)});
        EXPECT_TRUE(writer.waitForFinished() && writer.exitCode() == 0) << writer.readAllStandardError().toStdString();
        return path(name);
    }
    /// The answer's status, with the key or without.
    int status(const ServedModel& served, const QString& where, bool withKey)
    {
        QUrl url = served.address;
        url.setPath(where);
        QNetworkRequest request(url);
        if (withKey)
            request.setRawHeader("Authorization", "Bearer " + served.key.reveal());
        QNetworkReply* reply = network.get(request);
        QEventLoop loop;
        QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
        reply->deleteLater();
        return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    }
    QString failureOf(const ModelFiles& broken)
    {
        try {
            await(server.serve(broken, {}));
        } catch (const LocalizedError& error) {
            return error.description();
        }
        return u"none"_s;
    }
    bool lockIsFree() const
    {
        const int lock = ::open(QFile::encodeName(path(u"tallowfern-server.lock"_s)).constData(), O_RDWR);
        const bool isFree = lock >= 0 && ::flock(lock, LOCK_EX | LOCK_NB) == 0;
        ::close(lock);
        return isFree;
    }

    QTemporaryDir folder;
    SystemClock clock;
    LinuxProcessLauncher launcher;
    ModelServer server{clock, launcher};
    ModelFiles files;
    QNetworkAccessManager network;
};

TEST_P(ModelServerProcess, ServesWhoHasTheKeyAndHoldsTheLock)
{
    const ServedModel served = await(server.serve(files, {}));
    EXPECT_EQ(status(served, u"/health"_s, false), 200);
    EXPECT_EQ(status(served, u"/v1/models"_s, false), 401);
    EXPECT_EQ(status(served, u"/v1/models"_s, true), 200);
    EXPECT_EQ(await(server.serve(files, {})).address, served.address);
    EXPECT_FALSE(lockIsFree());

    const QList<qint64> running = processesWith(files.modelPath);
    ASSERT_EQ(running.size(), 1);
    for (const char* place : {"cmdline", "environ"})
        EXPECT_FALSE(
            contentOf(u"/proc/%1/%2"_s.arg(running.front()).arg(QLatin1String(place))).contains(served.key.reveal()));

    QElapsedTimer timer;
    timer.start();
    await(server.stop());
    EXPECT_LT(timer.elapsed(), 950); // it ended at the first request
    EXPECT_TRUE(lockIsFree());
    EXPECT_TRUE(processesWith(files.modelPath).isEmpty());
}

TEST_P(ModelServerProcess, HoldsOneServerAtATime)
{
    await(server.serve(files, {}));
    ModelFiles other = files;
    other.modelPath = model(u"other.gguf"_s, "{}");
    await(server.serve(other, {}));
    EXPECT_TRUE(processesWith(files.modelPath).isEmpty());
    EXPECT_EQ(processesWith(other.modelPath).size(), 1);
}

TEST_P(ModelServerProcess, SaysWhyItDoesNotStart)
{
    const QByteArray good = contentOf(files.modelPath);
    struct Case {
        QString model;
        std::optional<QString> projector;
        ServerEnd cause;
    };
    QList<Case> cases{
        {fileOf(u"empty.gguf"_s, {}), {}, ServerEnd::ModelDamaged},
        {fileOf(u"kind.gguf"_s, "lmggxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"), {}, ServerEnd::ModelDamaged},
        {fileOf(u"cut.gguf"_s, good.first(good.size() / 2)), {}, ServerEnd::ModelDamaged},
        {files.modelPath, fileOf(u"projector.gguf"_s, good), ServerEnd::ProjectorBad},
    };
    if (!isBuilt()) {
        cases.append({fileOf(u"clip.gguf"_s, R"(GGUF{"kind":"clip"})"), {}, ServerEnd::ModelOfAnotherKind});
        cases.append({fileOf(u"short.gguf"_s, R"(GGUF{"truncated":true})"), {}, ServerEnd::ModelDamaged});
        cases.append({fileOf(u"large.gguf"_s, R"(GGUF{"context":1024})"), {}, ServerEnd::Memory});
    }
    for (const Case& each : cases) {
        ModelFiles broken = files;
        broken.modelPath = each.model;
        broken.projectorPath = each.projector;
        EXPECT_EQ(failureOf(broken), stoppedSentence(u"Model"_s, each.cause)) << each.model.toStdString();
    }
    EXPECT_EQ(failureOf(files), u"none"_s); // no failure stays
}

TEST_P(ModelServerProcess, DiesWithItsParentAndFreesTheLock)
{
    QProcess parent;
    parent.start(QStringLiteral(SERVE_MODEL), {files.program, files.modelPath});
    ASSERT_TRUE(becomesTrue([&] { return parent.canReadLine(); }, 30'000))
        << parent.readAllStandardError().toStdString();
    EXPECT_EQ(processesWith(files.modelPath).size(), 2); // both have it in their arguments
    parent.kill();
    parent.waitForFinished();
    EXPECT_TRUE(becomesTrue([&] { return processesWith(files.modelPath).isEmpty() && lockIsFree(); }, 2000));
}

TEST_P(ModelServerProcess, IsStartedAnewAfterItWasKilled)
{
    const ServedModel first = await(server.serve(files, {}));
    ::kill(pid_t(processesWith(files.modelPath).value(0)), SIGKILL);
    EXPECT_EQ(await(server.endSentence()), stoppedSentence(u"Model"_s, ServerEnd::Killed));
    const ServedModel second = await(server.serve(files, {}));
    EXPECT_NE(second.key, first.key);
    EXPECT_EQ(status(second, u"/v1/models"_s, true), 200);
}

TEST_P(ModelServerProcess, IsKilledWhenItDoesNotListen)
{
    if (isBuilt())
        GTEST_SKIP() << "llama-server always listens";
    files.modelPath = model(u"deaf.gguf"_s, R"({"ignores_term":true})");
    await(server.serve(files, {}));
    QElapsedTimer timer;
    timer.start();
    await(server.stop());
    EXPECT_TRUE(becomesTrue([&] { return processesWith(files.modelPath).isEmpty(); }, 500));
    EXPECT_LT(timer.elapsed(), 1500);
}

TEST_P(ModelServerProcess, GoesOnLoadingAfterAStoppedTurn)
{
    if (isBuilt())
        GTEST_SKIP() << "the tiny model loads at once";
    files.modelPath = model(u"slow.gguf"_s, R"({"load_seconds":1})");
    std::stop_source stop;
    const auto first = testing_support::start(server.serve(files, stop.get_token()));
    ASSERT_TRUE(becomesTrue([&] { return processesWith(files.modelPath).size() == 1; }, 5000));
    stop.request_stop();
    ASSERT_TRUE(becomesTrue([&] { return first.isDone(); }, 500));
    const QList<qint64> loading = processesWith(files.modelPath);
    await(server.serve(files, {}));
    EXPECT_EQ(processesWith(files.modelPath), loading);
}

INSTANTIATE_TEST_SUITE_P(, ModelServerProcess, testing::Values(Engine::StandIn, Engine::Built),
    [](const auto& engine) { return engine.param == Engine::Built ? "LlamaServer" : "StandIn"; });

} // namespace

} // namespace tallowfern
