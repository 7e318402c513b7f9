#include "fakes/VirtualClock.h"
#include "foundation/Completion.h"
#include "runtime/Turn.h"
#include "support/Await.h"

#include <gmock/gmock.h>

#include <QTemporaryDir>

namespace tallowfern {

using namespace Qt::StringLiterals;
using Cause = AnswerFailure::Cause;

namespace {

/// A turn whose model, server and bridge the test plays.
class Bench {
public:
    Bench()
    {
        request.requestID = QUuid::createUuid();
        request.conversationID = QUuid::createUuid();
        request.sessionPath = folder.filePath(u"sessions.sqlite"_s);
        request.instruction = u"Write."_s;
        request.modelPath = u"/m.gguf"_s;
        request.model.emplace();
        request.model->name = u"Qwen Writer"_s;
    }
    ~Bench() { stop.request_stop(); }
    void useCloud()
    {
        request.model->provider = AgentModelProvider::OpenAI;
        request.cloudAPIKey = Secret("sk-12345678901234567890");
    }
    /// Runs the turn as far as it goes by itself.
    void start() { ended = testing_support::start(run()); }
    void say(const QString& piece)
    {
        text += piece;
        listener.onText(piece);
    }
    void finish() { answered->complete(std::nullopt); }
    void fail(Cause cause) { answered->complete(cause); }

    QTemporaryDir folder;
    VirtualClock clock;
    AgentRuntimeRequest request;
    SessionStore sessions{[](const QString&) {}};
    std::stop_source stop;
    testing_support::Outcome<void> ended;

    QStringList events; ///< "phase generating", "delta text", …
    QList<AnswerRequest> asked;
    AnswerStream::Listener listener;
    QList<ModelFiles> served;
    bool serverComes = true;
    std::optional<QString> serverFailure;
    std::optional<QString> serverDeath;
    qint64 contextTokens = 8192;
    int rests = 0;

private:
    QCoro::Task<> run()
    {
        Turn turn(tools(), request, [this](const AgentRuntimeEvent& event) {
            EXPECT_EQ(event.requestID, request.requestID);
            events.append(enumToString(event.kind) + u' '
                + (event.phase ? enumToString(*event.phase) : event.text.value_or(u"-"_s)));
        });
        co_await turn.run(stop.get_token());
    }
    TurnTools tools()
    {
        return {clock, sessions,
            [this](const AnswerRequest& service, const AnswerStream::Listener& to, const std::stop_token& token) {
                return answer(service, to, token);
            },
            [this](const ModelFiles& files, const std::stop_token& token) { return serve(files, token); },
            [this] { return death(); }, [this] { ++rests; },
            [this](const auto&, const auto&, const std::stop_token&) { return choose(); }, u"/own/llama-server"_s};
    }
    QCoro::Task<QString> answer(AnswerRequest service, AnswerStream::Listener to, std::stop_token token)
    {
        asked.append(service);
        listener = to;
        text.clear();
        answered.emplace();
        Completion<std::optional<Cause>> done = *answered;
        const std::stop_callback onStop(token, [ending = done]() mutable { ending.complete(Cause::Cancelled); });
        const std::optional<Cause> failed = co_await done;
        if (failed)
            throw AnswerFailure(*failed, u"it went wrong"_s);
        co_return text;
    }
    QCoro::Task<ServedModel> serve(ModelFiles files, std::stop_token token)
    {
        served.append(files);
        if (serverFailure)
            throw SystemError(*serverFailure);
        if (!serverComes) {
            co_await clock.sleep(1e6, token);
            throw SystemError(u"stopped"_s);
        }
        co_return ServedModel{QUrl(u"http://127.0.0.1:1"_s), Secret("key"), contextTokens};
    }
    QCoro::Task<std::optional<QString>> death() { co_return serverDeath; }
    QCoro::Task<SystemModel::Choice> choose() { co_return SystemModel::Choice{u"Gemma"_s, u"/gemma.gguf"_s}; }

    std::optional<Completion<std::optional<Cause>>> answered;
    QString text;
};

} // namespace

TEST(Turn, TellsItsPhasesThenPiecesThenTheWholeTextTrimmed)
{
    Bench bench;
    bench.start();
    EXPECT_EQ(bench.served.value(0).program, u"/own/llama-server"_s);
    EXPECT_EQ(bench.served.value(0).modelPath, u"/m.gguf"_s);
    EXPECT_EQ(bench.events, QStringList{u"phase loadingModel"_s});
    bench.listener.onSent();
    bench.listener.onSent(); // of a second attempt
    bench.say(u"\n Hel"_s);
    bench.say(u"lo.\n"_s);
    bench.finish();
    EXPECT_TRUE(bench.ended.isDone());
    EXPECT_EQ(bench.events.join(u'|'), u"phase loadingModel|phase generating|delta Hel|delta lo.\n|completed Hello."_s);
    EXPECT_EQ(bench.rests, 1);
    bench.clock.advance(1000);
    EXPECT_EQ(bench.events.size(), 5);
}

TEST(Turn, RemembersTheConversationAndWhatWasNeverAnswered)
{
    Bench bench;
    bench.start();
    bench.say(u"One."_s);
    bench.finish();
    bench.request.instruction = u"Again."_s;
    bench.start();
    bench.fail(Cause::Busy);
    bench.request.instruction = u"And again."_s;
    bench.start();
    const auto messages = bench.asked.last().prompt.messages;
    ASSERT_EQ(messages.size(), 3);
    EXPECT_EQ(messages[0].text, u"Write."_s);
    EXPECT_EQ(messages[1].text, u"One."_s);
    EXPECT_EQ(messages[2].text, u"Again.\n\nAnd again."_s);
    bench.stop.request_stop();
    EXPECT_TRUE(bench.ended.isDone());
    EXPECT_EQ(bench.events.last(), u"phase loadingModel"_s); // who left is told nothing

    Bench ephemeral;
    ephemeral.request.ephemeralSession = true;
    ephemeral.start();
    ephemeral.say(u"x"_s);
    ephemeral.finish();
    EXPECT_EQ(ephemeral.events.last(), u"completed x"_s);
    EXPECT_FALSE(QFile::exists(*ephemeral.request.sessionPath));
}

TEST(Turn, EndsInASentenceBeforeTheApplicationLosesPatience)
{
    struct Case {
        std::function<void(Bench&)> prepare;
        bool isGenerating;
        double seconds;
        QString sentence;
    };
    const QString tooLong = u"Qwen Writer did not finish within two minutes. Ask for less, or choose a faster model."_s;
    const Case cases[] = {
        {[](Bench& b) { b.serverComes = false; }, false, 28, u"Qwen Writer is still loading. Try again in a moment."_s},
        {[](Bench& b) { b.useCloud(); }, false, 28, u"OpenAI could not be reached."_s},
        {[](Bench&) {}, true, 115, tooLong},
        {[](Bench& b) { b.request.ephemeralSession = true; }, true, 45, tooLong},
    };
    for (const Case& each : cases) {
        Bench bench;
        each.prepare(bench);
        bench.start();
        if (each.isGenerating)
            bench.listener.onSent();
        bench.clock.advance(each.seconds - 0.1);
        EXPECT_FALSE(bench.ended.isDone());
        bench.clock.advance(0.1);
        EXPECT_TRUE(bench.ended.isDone());
        EXPECT_EQ(bench.events.last(), u"error "_s + each.sentence);
    }
}

TEST(Turn, FailsWithTheSentenceThatHelps)
{
    struct Case {
        std::function<void(Bench&)> prepare;
        std::function<void(Bench&)> then;
        QString sentence;
    };
    const auto nothing = [](Bench&) {};
    const auto loses = [](Bench& b) { b.fail(Cause::CutOff); };
    const Case cases[] = {
        {[](Bench& b) { b.request.model.reset(); }, nothing, u"Choose a writing model."_s},
        {[](Bench& b) { b.request.instruction = u" \n"_s; }, nothing, u"No instruction was detected."_s},
        {[](Bench& b) {
             b.request.attachments.append(AgentContextAttachment());
             b.request.attachments.last().kind = AgentAttachmentKind::Screenshot;
         },
            nothing, u"Switch to an image-capable model to include a screenshot."_s},
        {[](Bench& b) {
             b.request.model->capabilities.images = true;
             b.request.attachments.append(AgentContextAttachment());
             b.request.attachments.last().kind = AgentAttachmentKind::Screenshot;
             b.request.attachments.last().filePath = u"/nowhere.png"_s;
         },
            nothing, u"The screenshot could not be read."_s},
        {[](Bench& b) { b.request.model->provider = AgentModelProvider::Mistral; }, nothing,
            u"Add your Mistral API key before using this model."_s},
        {[](Bench& b) { b.serverFailure = u"Qwen Writer stopped: the file is damaged."_s; }, nothing,
            u"Qwen Writer stopped: the file is damaged."_s},
        {nothing, [](Bench& b) { b.finish(); }, u"The model returned no text."_s},
        {nothing, loses, u"it went wrong"_s},
        {[](Bench& b) { b.serverDeath = u"Qwen Writer stopped: no memory."_s; }, loses,
            u"Qwen Writer stopped: no memory."_s},
    };
    for (const Case& each : cases) {
        Bench bench;
        each.prepare(bench);
        bench.start();
        each.then(bench);
        EXPECT_TRUE(bench.ended.isDone());
        EXPECT_EQ(bench.events.last(), u"error "_s + each.sentence);
        EXPECT_EQ(bench.events.filter(u"error"_s).size(), 1);
        EXPECT_EQ(bench.events.filter(u"completed"_s).size(), 0);
    }
}

TEST(Turn, AsksAgainWithLessWhenTheConversationIsTooLong)
{
    Bench bench;
    for (int i = 0; i < 5; ++i) {
        bench.start();
        bench.say(u"answer"_s);
        bench.finish();
    }
    bench.asked.clear();
    bench.start();
    EXPECT_EQ(bench.asked.last().prompt.messages.size(), 11);
    for (const qsizetype messages : {5, 3, 1}) { // 2, 1 and 0 of five exchanges are kept
        bench.fail(Cause::TooLong);
        EXPECT_EQ(bench.asked.last().prompt.messages.size(), messages);
    }
    bench.fail(Cause::TooLong);
    EXPECT_EQ(bench.events.last(), u"error it went wrong"_s);

    bench.start();
    bench.say(u"half"_s);
    bench.fail(Cause::TooLong); // what was shown is not begun anew
    EXPECT_EQ(bench.events.last(), u"error it went wrong"_s);

    bench.contextTokens = 12;
    bench.start();
    EXPECT_EQ(bench.asked.last().prompt.messages.size(), 1);
}

} // namespace tallowfern
