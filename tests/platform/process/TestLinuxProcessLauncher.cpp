#include "platform/linux/process/LinuxProcessLauncher.h"

#include "foundation/Completion.h"
#include "foundation/LocalizedError.h"
#include "support/Await.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing_support::await;

namespace {

struct Ending {
    QByteArray head; ///< the first bytes of the output
    qint64 outputSize = 0;
    qint64 errorSize = 0;
    qint64 largestPiece = 0;
    ProcessExit exit;
};

QCoro::Task<Ending> runToEnd(ProcessRequest request)
{
    LinuxProcessLauncher launcher;
    auto child = co_await launcher.launch(request);
    Ending ending;
    Completion<ProcessExit> exited;
    child->onOutput = [&ending](const QByteArray& bytes) {
        ending.outputSize += bytes.size();
        ending.largestPiece = std::max<qint64>(ending.largestPiece, bytes.size());
        if (ending.head.size() < 1000)
            ending.head += bytes;
    };
    child->onErrorOutput = [&ending](const QByteArray& bytes) {
        ending.errorSize += bytes.size();
        ending.largestPiece = std::max<qint64>(ending.largestPiece, bytes.size());
    };
    child->onExit = [exited](ProcessExit how) mutable { exited.complete(how); };
    ending.exit = co_await exited;
    co_return ending;
}

Ending shell(const QString& script, const QMap<QString, QString>& environment = {})
{
    return await(runToEnd({u"/bin/sh"_s, {u"-c"_s, script}, environment}));
}

struct Talking {
    std::unique_ptr<ChildProcess> child;
    QByteArray firstOutput;
};

QCoro::Task<Talking> launchTalking(QString script)
{
    LinuxProcessLauncher launcher;
    const ProcessRequest request{u"/bin/sh"_s, {u"-c"_s, script}, {}};
    Talking talking;
    talking.child = co_await launcher.launch(request);
    Completion<QByteArray> heard;
    talking.child->onOutput = [heard](const QByteArray& bytes) mutable { heard.complete(bytes); };
    talking.firstOutput = co_await heard;
    co_return talking;
}

enum class Callback { Output, Exit };

/// The number that the child had.
QCoro::Task<qint64> destroyInCallback(Callback where)
{
    LinuxProcessLauncher launcher;
    const ProcessRequest request{u"/bin/sh"_s, {u"-c"_s, u"echo out; echo err >&2"_s}, {}};
    auto child = co_await launcher.launch(request);
    const qint64 identifier = child->processIdentifier();
    Completion<bool> destroyed;
    auto destroy = [&child, destroyed]() mutable {
        child.reset();
        destroyed.complete(true);
    };
    if (where == Callback::Exit)
        child->onExit = [destroy](ProcessExit) mutable { destroy(); };
    else
        child->onOutput = [destroy](const QByteArray&) mutable { destroy(); };
    co_await destroyed;
    co_return identifier;
}

QString refusal(const ProcessRequest& request)
{
    try {
        await(runToEnd(request));
    } catch (const SystemError& error) {
        return error.description();
    }
    return u"(started)"_s;
}

QByteArray statusOf(qint64 process)
{
    QFile file(u"/proc/%1/stat"_s.arg(process));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Gone, or waiting only to be reaped by whoever inherited it.
bool isDead(qint64 process)
{
    const QByteArray status = statusOf(process);
    return status.isEmpty() || status.contains(") Z ");
}

/// CTest's time limit ends a wait for what never happens.
void waitUntilDead(qint64 process)
{
    while (!isDead(process)) {
        QCoreApplication::processEvents();
        QThread::msleep(2);
    }
}

/// Until the launcher has heard of the end, and keeps nothing of the child.
void waitUntilBuried(qint64 process)
{
    while (!statusOf(process).isEmpty()) {
        QCoreApplication::processEvents();
        QThread::msleep(2);
    }
}

class LinuxProcess : public testing::Test {
protected:
    void TearDown() override { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
};

} // namespace

TEST_F(LinuxProcess, HandsOverOutputThenTheExit)
{
    struct Case {
        const char* script;
        QByteArray output;
        qint64 errorSize;
        bool crashed;
        int status;
    };
    const Case cases[] = {
        {"true", "", 0, false, 0}, {"exit 3", "", 0, false, 3},
        {"printf 'a\\377\\200b'; printf err >&2",
            "a\xff\x80"
            "b",
            3, false, 0},
        {"echo last words; kill -9 $$", "last words\n", 0, true, SIGKILL},
        {"cat; echo end of input", "end of input\n", 0, false, 0},
        {"read -r _ _ _ _ group _ < /proc/$$/stat; test $group = $$ && echo own group", "own group\n", 0, false, 0},
        {"printf %s \"$TALLOWFERN_TEST$HOME\"", "value/home/x", 0, false, 0},
        {"ls /proc/self/fd | wc -l", "4\n", 0, false, 0}, // three, and the folder that ls reads
    };
    const int leak = ::open("/dev/null", O_RDONLY); // NOLINT: as a careless library would
    for (const Case& each : cases) {
        const Ending ending
            = shell(QString::fromLatin1(each.script), {{u"TALLOWFERN_TEST"_s, u"value"_s}, {u"HOME"_s, u"/home/x"_s}});
        EXPECT_EQ(ending.head, each.output) << each.script;
        EXPECT_EQ(ending.errorSize, each.errorSize) << each.script;
        EXPECT_EQ(ending.exit.crashed, each.crashed) << each.script;
        EXPECT_EQ(ending.exit.status, each.status) << each.script;
    }
    ::close(leak);
}

TEST_F(LinuxProcess, AFloodOnBothStreamsKeepsMemoryFlat)
{
    const Ending ending = shell(u"head -c 100000000 /dev/zero & head -c 100000000 /dev/zero >&2; wait"_s);
    EXPECT_EQ(ending.outputSize, 100000000);
    EXPECT_EQ(ending.errorSize, 100000000);
    EXPECT_LT(ending.largestPiece, 1000000) << "nothing piles up inside";
}

TEST_F(LinuxProcess, SaysInTheSystemsWordsWhyAProgramDoesNotStart)
{
    const QTemporaryDir folder;
    const QString plain = folder.filePath(u"plain"_s);
    QFile file(plain);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    EXPECT_EQ(refusal({u"/nowhere/whisper-cli"_s, {}, {}}), u"/nowhere/whisper-cli: No such file or directory"_s);
    EXPECT_EQ(refusal({plain, {}, {}}), plain + u": Permission denied"_s);
    EXPECT_EQ(refusal({u"/bin/true"_s, {QString(200000, u'x')}, {}}), u"/bin/true: Argument list too long"_s);
}

TEST_F(LinuxProcess, DestroyingAChildKillsItsGroupAndDoesNotWait)
{
    Talking talking = await(launchTalking(u"trap '' TERM; sleep 600 & echo $!; wait"_s));
    const qint64 grandchild = talking.firstOutput.trimmed().toLongLong();
    ASSERT_GT(grandchild, 0);
    const qint64 identifier = talking.child->processIdentifier();
    QElapsedTimer timer;
    timer.start();
    talking.child.reset();
    EXPECT_LT(timer.elapsed(), 50);
    waitUntilDead(grandchild);
    waitUntilBuried(identifier);
}

TEST_F(LinuxProcess, ACallbackMayDestroyTheChild)
{
    waitUntilBuried(await(destroyInCallback(Callback::Output)));
    waitUntilBuried(await(destroyInCallback(Callback::Exit)));
}

TEST_F(LinuxProcess, AChildDiesWithUs)
{
    int channel[2];
    ASSERT_EQ(::pipe(channel), 0);
    const pid_t middle = ::fork();
    if (middle == 0) {
        // A whole application of its own, which is then killed without a chance to clean up.
        ::execl("/proc/self/exe", "process_tests", "--gtest_filter=LinuxProcessParent.*",
            "--gtest_also_run_disabled_tests", qPrintable(u"--channel=%1"_s.arg(channel[1])), nullptr);
        ::_exit(1);
    }
    ::close(channel[1]);
    qint64 grandchild = 0;
    ASSERT_EQ(::read(channel[0], &grandchild, sizeof grandchild), ssize_t(sizeof grandchild));
    ::close(channel[0]);
    EXPECT_FALSE(isDead(grandchild));
    ::kill(middle, SIGKILL);
    ::waitpid(middle, nullptr, 0);
    waitUntilDead(grandchild);
}

TEST(LinuxProcessParent, DISABLED_StartsAChildAndWaits)
{
    const int channel = QCoreApplication::arguments().last().section(u'=', 1).toInt();
    LinuxProcessLauncher launcher;
    const auto child = await(launcher.launch({u"/bin/sleep"_s, {u"600"_s}, {}}));
    const qint64 identifier = child->processIdentifier();
    ASSERT_EQ(::write(channel, &identifier, sizeof identifier), ssize_t(sizeof identifier));
    while (true)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

} // namespace tallowfern
