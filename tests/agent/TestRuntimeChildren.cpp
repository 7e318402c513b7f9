#include "agent/AgentRuntimeService.h"
#include "agent/protocol/AgentRuntimeError.h"
#include "foundation/SystemClock.h"
#include "platform/linux/process/LinuxProcessLauncher.h"
#include "support/Await.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QTemporaryDir>

#include <csignal>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

/// Starts real programs, and says when the one who asked for the newest has it.
class WatchedLauncher final : public ProcessLauncher {
public:
    QCoro::Task<std::unique_ptr<ChildProcess>> launch(ProcessRequest request) override
    {
        hasLaunched = false;
        std::unique_ptr<ChildProcess> child = co_await m_launcher.launch(request);
        hasLaunched = true;
        co_return child;
    }
    bool hasLaunched = false;

private:
    LinuxProcessLauncher m_launcher;
};

/// The service with real children, each of which behaves as told.
class RuntimeChildren : public testing::Test {
protected:
    AgentRuntimeService& serviceWith(const QString& mode)
    {
        // The runtime gets no arguments, so a script of the mode's own stands for it.
        QString script = m_folder.filePath(mode);
        QFile file(script);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\necho $$ > " + script.toUtf8() + ".pid\nexec /usr/bin/python3 " RUNTIME_CHILD " "
            + mode.toUtf8() + "\n");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        file.close();
        m_mode = mode;
        m_service.emplace(m_clock, m_launcher, [script](const QString&) { return script; });
        return *m_service;
    }
    QString runOnce(const QString& instruction = {})
    {
        AgentRuntimeRequest request;
        request.requestID = m_latest = QUuid::createUuid();
        request.instruction = instruction;
        try {
            return testing_support::await(m_service->run(request, [this](const AgentRuntimeEvent& event) {
                ++m_events;
                if (onEvent)
                    onEvent(event);
            })).value_or(u"cancelled"_s);
        } catch (const LocalizedError& error) {
            return u"failed: "_s + error.description();
        }
    }
    QCoro::Task<> untilLaunched()
    {
        while (!m_launcher.hasLaunched || !QFile::exists(m_folder.filePath(m_mode + u".pid"_s)))
            co_await m_clock.sleep(0.01);
    }
    bool childIsGone() const
    {
        QFile file(m_folder.filePath(m_mode + u".pid"_s));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return ::kill(file.readAll().trimmed().toInt(), 0) != 0;
    }
    /// In bytes.
    static qint64 residentMemory()
    {
        QFile file(u"/proc/self/statm"_s);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll().split(' ').value(1).toLongLong() * 4096;
    }
    bool waitUntilGone()
    {
        const double begun = m_clock.now();
        while (!childIsGone() && m_clock.now() - begun < 20)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
        return childIsGone();
    }

    std::function<void(const AgentRuntimeEvent&)> onEvent;
    SystemClock m_clock;
    WatchedLauncher m_launcher;
    std::optional<AgentRuntimeService> m_service;
    QUuid m_latest;
    int m_events = 0;

private:
    QTemporaryDir m_folder;
    QString m_mode;
};

} // namespace

TEST_F(RuntimeChildren, AreUnderstoodByteByByteAndServeAgain)
{
    serviceWith(u"bytes"_s);
    EXPECT_EQ(runOnce(), u"Zürich\n😀"_s);
    EXPECT_EQ(runOnce(), u"Zürich\n😀"_s);
    EXPECT_EQ(m_events, 4);
    m_service.reset();
    EXPECT_TRUE(waitUntilGone());
}

TEST_F(RuntimeChildren, ThatMisbehaveFailTheRunAndAreReplaced)
{
    const std::pair<const char*, QString> cases[] = {
        {"dies", u"failed: Command stopped unexpectedly. one two"_s},
        {"garbage", u"failed: Command returned an invalid response."_s},
        {"rambles", u"failed: Command returned an invalid response."_s},
    };
    for (const auto& [mode, sentence] : cases) {
        serviceWith(QString::fromLatin1(mode));
        EXPECT_EQ(runOnce(), sentence);
        EXPECT_TRUE(waitUntilGone()) << mode;
        EXPECT_EQ(runOnce(), sentence);
    }
}

TEST_F(RuntimeChildren, ThatFloodLeaveTheMemoryFlat)
{
    serviceWith(u"bytes"_s);
    runOnce();
    const qint64 before = residentMemory();
    for (const char* mode : {"floods", "floods-errors"}) {
        serviceWith(QString::fromLatin1(mode));
        EXPECT_EQ(runOnce(), u"enough"_s);
        EXPECT_LT(residentMemory() - before, 30 << 20) << mode;
    }
    serviceWith(u"rambles-later"_s);
    EXPECT_EQ(runOnce(), u"first"_s);
    EXPECT_TRUE(waitUntilGone());
    EXPECT_LT(residentMemory() - before, 30 << 20);
}

TEST_F(RuntimeChildren, ThatDoNotLeaveAreKilled)
{
    serviceWith(u"stays"_s);
    onEvent = [this](const AgentRuntimeEvent&) { m_service->cancel(m_latest); };
    EXPECT_EQ(runOnce(), u"cancelled"_s);
    EXPECT_TRUE(waitUntilGone());
}

TEST_F(RuntimeChildren, ThatReadNothingHoldNobodyUp)
{
    serviceWith(u"deaf"_s);
    const QString large(4 << 20, u'x');
    AgentRuntimeRequest request;
    request.requestID = QUuid::createUuid();
    request.instruction = large;
    const auto outcome = testing_support::start(m_service->run(request, [](const AgentRuntimeEvent&) {}));
    testing_support::await(untilLaunched());
    EXPECT_FALSE(outcome.isDone());
    m_service->cancel(request.requestID);
    EXPECT_EQ(outcome.value(), std::nullopt);
    EXPECT_TRUE(waitUntilGone());
}

} // namespace tallowfern
