#include "agent/AgentRuntimeService.h"
#include "agent/RuntimeDiagnostics.h"
#include "agent/protocol/AgentRuntimeError.h"
#include "fakes/FakeProcessLauncher.h"
#include "fakes/VirtualClock.h"
#include "support/Await.h"

#include <gmock/gmock.h>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing_support::Outcome;
using Kind = AgentProtocolEventKind;
using Answer = std::optional<QString>;

namespace {

AgentRuntimeRequest request(AgentModelProvider provider = AgentModelProvider::LlamaCPP)
{
    AgentRuntimeRequest asked;
    asked.requestID = QUuid::createUuid();
    asked.model.emplace();
    asked.model->name = u"Qwen Writer"_s;
    asked.model->provider = provider;
    return asked;
}

QByteArray event(const AgentRuntimeRequest& request, Kind kind, std::optional<QString> text = {},
    std::optional<AgentPhase> phase = {})
{
    AgentRuntimeEvent told;
    told.requestID = request.requestID;
    told.kind = kind;
    told.text = std::move(text);
    told.phase = phase;
    return encodedLine(told);
}

struct Bench {
    Outcome<Answer> run(const AgentRuntimeRequest& asked)
    {
        return testing_support::start(service->run(asked, [this](const AgentRuntimeEvent& told) {
            events.append(enumToString(told.kind) + u':' + told.text.value_or(u"-"_s));
            if (onEvent)
                onEvent(told);
        }));
    }
    QString failure(const Outcome<Answer>& outcome)
    {
        EXPECT_TRUE(outcome.isDone());
        try {
            return u"no failure: "_s + outcome.value().value_or(u"cancelled"_s);
        } catch (const LocalizedError& error) {
            return error.description();
        }
    }

    VirtualClock clock;
    FakeProcessLauncher launcher;
    bool isInstalled = true;
    std::unique_ptr<AgentRuntimeService> service = std::make_unique<AgentRuntimeService>(clock, launcher,
        [this](const QString& name) { return isInstalled ? std::optional(u"/programs/"_s + name) : std::nullopt; });
    QStringList events;
    std::function<void(const AgentRuntimeEvent&)> onEvent;
};

} // namespace

TEST(AgentRuntimeService, AnswersWithTheTextOfCompletedHoweverTheBytesCome)
{
    for (const int pieces : {1, 3, 10000}) {
        Bench bench;
        const auto asked = request();
        const auto outcome = bench.run(asked);
        EXPECT_EQ(bench.launcher.requests.back().program, u"/programs/tallowfern-agent"_s);
        EXPECT_EQ(decodedRequest(bench.launcher.input().chopped(1)), asked);
        const QByteArray said = event(asked, Kind::Phase, u"Loading"_s, AgentPhase::LoadingModel) + "\n"
            + event(asked, Kind::Delta, u"Ünd\n"_s) + event(request(), Kind::Error, u"of nobody"_s)
            + event(asked, Kind::Warning) + event(asked, Kind::Completed, u"Ünd\n so"_s);
        const qsizetype size = std::max<qsizetype>(1, said.size() / pieces);
        for (qsizetype at = 0; at < said.size(); at += size)
            bench.launcher.writes(said.mid(at, size));
        EXPECT_EQ(outcome.value(), u"Ünd\n so"_s);
        EXPECT_EQ(bench.events.join(u'|'), u"phase:Loading|delta:Ünd\n|warning:-|completed:Ünd\n so"_s);
        bench.clock.advance(500);
        EXPECT_TRUE(bench.launcher.isRunning()); // warm for the next run
        const auto next = request();
        const auto second = bench.run(next);
        bench.launcher.writes(event(next, Kind::Completed));
        EXPECT_EQ(second.value(), u""_s);
        EXPECT_EQ(bench.launcher.requests.size(), 1U);
    }
}

TEST(AgentRuntimeService, FailsWithASentenceAndKeepsOrLeavesTheChild)
{
    enum class Child { Kept, Gone };
    struct Case {
        QByteArray errorOutput;
        std::function<void(Bench&, const AgentRuntimeRequest&)> what;
        QString sentence;
        Child child;
    };
    const auto says = [](const QByteArray& line) {
        return [line](Bench& bench, const AgentRuntimeRequest&) { bench.launcher.writes(line); };
    };
    const Case cases[] = {
        {"", [](Bench& b, const auto& r) { b.launcher.writes(event(r, Kind::Error, u"No key."_s)); }, u"No key."_s,
            Child::Kept},
        {"", [](Bench& b, const auto& r) { b.launcher.writes(event(r, Kind::Error)); }, u"Command failed."_s,
            Child::Kept},
        {"",
            says(R"({"version":2,"kind":"error","text":"All is lost.","more":[1]})"
                 "\n"),
            u"All is lost."_s, Child::Gone},
        {"", says("{\"version\":1,\"kind\":\"error\"}\n"), u"Command rejected the request."_s, Child::Gone},
        {"noise", says("hello\n"), u"Command returned an invalid response."_s, Child::Gone},
        {"",
            says(R"({"version":1,"kind":"phase","phase":"dreaming"})"
                 "\n"),
            u"Command returned an invalid response."_s, Child::Gone},
        {"one\n\ntwo\nthree\nfour\n", [](Bench& b, const auto&) { b.launcher.exits(3); },
            u"Command stopped unexpectedly. two three four"_s, Child::Gone},
        {"\n \n", [](Bench& b, const auto&) { b.launcher.isKilled(9); }, u"Command stopped unexpectedly."_s,
            Child::Gone},
        {"memory", [](Bench& b, const auto&) { b.clock.advance(30); }, u"Qwen Writer did not start in time. memory"_s,
            Child::Gone},
        {"",
            [](Bench& b, const auto& r) {
                b.clock.advance(29);
                b.launcher.writes(event(r, Kind::Delta, u"a"_s, AgentPhase::Generating));
                b.clock.advance(90);
                b.launcher.writes(event(r, Kind::Delta, u"b"_s));
                b.clock.advance(1);
            },
            u"Command stopped responding."_s, Child::Gone},
    };
    for (const Case& each : cases) {
        Bench bench;
        const auto asked = request();
        const auto outcome = bench.run(asked);
        bench.launcher.writesError(each.errorOutput);
        each.what(bench, asked);
        EXPECT_EQ(bench.failure(outcome), each.sentence);
        const auto next = request();
        const auto second = bench.run(next);
        EXPECT_EQ(bench.launcher.requests.size(), each.child == Child::Kept ? 1U : 2U) << qPrintable(each.sentence);
        bench.launcher.writes(event(next, Kind::Completed, u"fine"_s));
        EXPECT_EQ(second.value(), u"fine"_s);
    }
}

TEST(AgentRuntimeService, FailsWhenTheChildCannotBeHadOrReached)
{
    Bench bench;
    bench.isInstalled = false;
    bench.service->start(); // says nothing
    EXPECT_EQ(bench.failure(bench.run(request())), u"The bundled Command runtime is missing."_s);
    bench.isInstalled = true;
    bench.launcher.refusal = u"Exec format error"_s;
    EXPECT_EQ(bench.failure(bench.run(request())), u"The bundled Command runtime is missing."_s);
    bench.launcher.refusal.reset();
    bench.launcher.reading = FakeProcessLauncher::Reading::Refuses;
    EXPECT_EQ(bench.failure(bench.run(request())), u"Broken pipe"_s);
    EXPECT_TRUE(bench.launcher.inputIsClosed());
    bench.launcher.reading = FakeProcessLauncher::Reading::Waits;
    const auto stuck = bench.run(request());
    bench.clock.advance(30);
    EXPECT_EQ(bench.failure(stuck), u"Qwen Writer did not start in time."_s);
}

TEST(AgentRuntimeService, RunsOneAtATime)
{
    Bench bench;
    bench.launcher.startsWhen.emplace();
    bench.service->start();
    const auto asked = request();
    const auto outcome = bench.run(asked);
    EXPECT_EQ(bench.failure(bench.run(request())), u"Command is already working."_s); // also while the child starts
    bench.launcher.startsWhen->complete(true);
    EXPECT_EQ(bench.failure(bench.run(request())), u"Command is already working."_s);
    bench.launcher.writes(event(asked, Kind::Completed, u"first"_s));
    EXPECT_EQ(outcome.value(), u"first"_s);
    EXPECT_EQ(bench.launcher.requests.size(), 1U);
}

TEST(AgentRuntimeService, ACancelledRunIsNoFailureAndItsChildIsNeverHeardAgain)
{
    Bench bench;
    const auto asked = request();
    const auto outcome = bench.run(asked);
    bench.service->cancel(QUuid::createUuid());
    EXPECT_FALSE(outcome.isDone());
    bench.service->cancel(asked.requestID);
    EXPECT_EQ(outcome.value(), std::nullopt);
    EXPECT_TRUE(bench.launcher.inputIsClosed());

    bench.launcher.writes(0, event(asked, Kind::Completed, u"late"_s));
    const auto next = request();
    const auto second = bench.run(next);
    const QByteArray line = event(next, Kind::Completed, u"mine"_s);
    bench.launcher.writes(1, line.first(20));
    bench.launcher.writes(0, "garbage\n");
    bench.launcher.writes(1, line.sliced(20));
    EXPECT_EQ(second.value(), u"mine"_s);
    EXPECT_EQ(bench.events.join(u'|'), u"completed:mine"_s);
}

TEST(AgentRuntimeService, AChildThatStaysIsAskedThenKilled)
{
    Bench bench;
    const auto asked = request();
    bench.run(asked);
    bench.service->cancel(asked.requestID);
    bench.clock.advance(1.9);
    EXPECT_FALSE(bench.launcher.wasAskedToEnd());
    bench.clock.advance(0.1);
    EXPECT_TRUE(bench.launcher.wasAskedToEnd());
    EXPECT_TRUE(bench.launcher.isRunning());
    bench.clock.advance(1);
    EXPECT_FALSE(bench.launcher.isRunning());
}

TEST(AgentRuntimeService, CountsCloudRequestsInASlidingMinute)
{
    Bench bench;
    const QString refusal
        = u"Tallowfern paused cloud requests after 10 commands in one minute. Wait briefly and try again."_s;
    const auto succeeds = [&](AgentModelProvider provider) {
        const auto asked = request(provider);
        const auto outcome = bench.run(asked);
        bench.launcher.writes(event(asked, Kind::Completed, u"yes"_s));
        return bench.failure(outcome) == u"no failure: yes"_s;
    };
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(succeeds(AgentModelProvider::OpenAI));
        EXPECT_TRUE(succeeds(AgentModelProvider::LlamaCPP));
        EXPECT_TRUE(succeeds(AgentModelProvider::Mistral));
        bench.clock.advance(5);
    }
    const auto before = bench.launcher.input();
    EXPECT_EQ(bench.failure(bench.run(request(AgentModelProvider::Gemini))), refusal);
    EXPECT_EQ(bench.launcher.input(), before);
    EXPECT_TRUE(succeeds(AgentModelProvider::AppleSystem));
    bench.clock.advance(34.9);
    EXPECT_EQ(bench.failure(bench.run(request(AgentModelProvider::Gemini))), refusal);
    bench.clock.advance(0.1);
    EXPECT_TRUE(succeeds(AgentModelProvider::Gemini));
    EXPECT_TRUE(succeeds(AgentModelProvider::Gemini)); // two had begun at that moment
    EXPECT_EQ(bench.failure(bench.run(request(AgentModelProvider::Gemini))), refusal);
}

TEST(AgentRuntimeService, TheCallerMayDoAnythingFromInside)
{
    Bench bench;
    const auto asked = request();
    bench.onEvent = [&](const AgentRuntimeEvent&) { bench.service->cancel(asked.requestID); };
    const auto cancelled = bench.run(asked);
    bench.launcher.writes(event(asked, Kind::Delta, u"x"_s) + event(asked, Kind::Completed, u"y"_s));
    EXPECT_EQ(cancelled.value(), std::nullopt);

    const auto last = request();
    bench.onEvent = [&](const AgentRuntimeEvent&) { bench.service.reset(); };
    const auto ended = bench.run(last);
    bench.launcher.writes(event(last, Kind::Delta, u"x"_s) + event(last, Kind::Completed, u"y"_s));
    EXPECT_EQ(ended.value(), std::nullopt);
    EXPECT_FALSE(bench.launcher.isRunning());
}

TEST(RuntimeDiagnostics, QuoteTheLastLinesWhateverTheBytes)
{
    EXPECT_EQ(diagnosticSuffix("a\nb\nc\nd\ne\n"), u" c d e"_s);
    EXPECT_EQ(diagnosticSuffix("\n \n\n"), QString());
    EXPECT_EQ(diagnosticSuffix("\x82\xac out of memory"), u" \ufffd\ufffd out of memory"_s);
}

} // namespace tallowfern
