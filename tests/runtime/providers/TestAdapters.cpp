#include "runtime/providers/AnswerReader.h"
#include "runtime/providers/ServiceErrors.h"

#include <gmock/gmock.h>

#include <QJsonArray>
#include <QJsonDocument>

namespace tallowfern {

using namespace Qt::StringLiterals;
using Provider = AgentModelProvider;
using Effort = AgentReasoningEffort;

namespace {

AnswerRequest request(Provider provider)
{
    AnswerRequest asked;
    asked.model.provider = provider;
    asked.model.id = u"openai-terra"_s;
    asked.model.name = u"Qwen"_s;
    asked.model.officialName = u"model-1"_s;
    asked.key = Secret("sk-secretsecretsecret");
    asked.prompt.system = u"Be brief."_s;
    asked.prompt.messages = {{AgentMessageRole::User, u"One"_s, {}}, {AgentMessageRole::Assistant, u"1"_s, {}},
        {AgentMessageRole::User, u"Two"_s, {PromptImage{u"/a.png"_s, true, "image/png", "QUJD"}}}};
    if (provider == Provider::LlamaCPP)
        asked.localServer = QUrl(u"http://127.0.0.1:4321"_s);
    return asked;
}

/// What a stream of these events comes to: the text, or "!" and the failure.
QString answerOf(Provider provider, const QByteArrayList& events, qsizetype pieceSize, const char* lineEnd)
{
    QByteArray stream = ": hello\n\nretry: 5\n\n";
    for (const QByteArray& event : events)
        stream += "event: x" + QByteArray(lineEnd) + "data: " + event + lineEnd + lineEnd;
    const AnswerRequest asked = request(provider);
    const auto adapter = adapterFor(provider);
    QString shown;
    AnswerReader reader(*adapter, asked, [&](const QString& piece) { shown += piece; });
    for (qsizetype at = 0; at < stream.size(); at += pieceSize) {
        if (reader.append(stream.mid(at, pieceSize)))
            break;
    }
    if (reader.failure())
        return u'!' + reader.failure()->description();
    return reader.wholeText().value_or(u"(no end)"_s);
}

} // namespace

TEST(Adapters, SpeakEachServicesForm)
{
    const QJsonObject openAI
        = QJsonDocument::fromJson(adapterFor(Provider::OpenAI)->call(request(Provider::OpenAI), {}).body).object();
    EXPECT_EQ(openAI[u"store"_s], QJsonValue(false));
    EXPECT_EQ(openAI[u"instructions"_s], QJsonValue(u"Be brief."_s));
    EXPECT_EQ(openAI[u"input"_s][1][u"content"_s], QJsonValue(u"1"_s));
    EXPECT_EQ(openAI[u"input"_s][2][u"content"_s][0][u"image_url"_s], QJsonValue(u"data:image/png;base64,QUJD"_s));
    EXPECT_EQ(openAI[u"input"_s][2][u"content"_s][1][u"text"_s], QJsonValue(u"Two"_s));

    const ServiceCall gemini = adapterFor(Provider::Gemini)->call(request(Provider::Gemini), {});
    EXPECT_EQ(gemini.url.toString(),
        u"https://generativelanguage.googleapis.com/v1beta/models/model-1:streamGenerateContent?alt=sse"_s);
    const QJsonObject told = QJsonDocument::fromJson(gemini.body).object();
    EXPECT_EQ(told[u"systemInstruction"_s][u"parts"_s][0][u"text"_s], QJsonValue(u"Be brief."_s));
    EXPECT_EQ(told[u"contents"_s][1][u"role"_s], QJsonValue(u"model"_s));
    EXPECT_EQ(told[u"contents"_s][2][u"parts"_s][0][u"inlineData"_s][u"mimeType"_s], QJsonValue(u"image/png"_s));

    for (const Provider provider : {Provider::Mistral, Provider::LlamaCPP}) {
        const bool isLocal = provider == Provider::LlamaCPP;
        const ServiceCall call = adapterFor(provider)->call(request(provider), {});
        const QJsonObject chat = QJsonDocument::fromJson(call.body).object();
        EXPECT_EQ(chat[u"messages"_s][0][u"role"_s], QJsonValue(u"system"_s));
        const QJsonValue image = chat[u"messages"_s][3][u"content"_s][0][u"image_url"_s];
        EXPECT_EQ(isLocal ? image[u"url"_s] : image, QJsonValue(u"data:image/png;base64,QUJD"_s));
        EXPECT_EQ(chat.contains(u"model"_s), !isLocal);
        EXPECT_EQ(chat.contains(u"temperature"_s), isLocal);
        EXPECT_FALSE(chat.contains(u"stream_options"_s));
        EXPECT_EQ(call.headers.value(0).second, "Bearer sk-secretsecretsecret");
        const QJsonObject without
            = QJsonDocument::fromJson(adapterFor(provider)->call(request(provider), {false, true}).body).object();
        EXPECT_EQ(without[u"messages"_s][0][u"content"_s], QJsonValue(u"Be brief.\n\nOne"_s));
        AnswerRequest bare = request(provider);
        bare.prompt.system.clear();
        EXPECT_EQ(
            QJsonDocument::fromJson(adapterFor(provider)->call(bare, {}).body)[u"messages"_s].toArray().size(), 3);
    }
}

TEST(Adapters, MapTheEffortAsEachServiceTakesIt)
{
    struct Case {
        Provider provider;
        Effort effort;
        QByteArray told; ///< stands in the body; with "-" in front it does not
    };
    const Case cases[] = {
        {Provider::OpenAI, Effort::Automatic, R"("effort":"medium")"},
        {Provider::OpenAI, Effort::XHigh, R"("effort":"xhigh")"},
        {Provider::Gemini, Effort::Automatic, "-thinking"},
        {Provider::Gemini, Effort::Minimal, R"("thinkingLevel":"MINIMAL")"},
        {Provider::Mistral, Effort::Automatic, "-reasoning_effort"},
        {Provider::Mistral, Effort::None, R"("reasoning_effort":"none")"},
        {Provider::LlamaCPP, Effort::Automatic, "-effort"},
    };
    for (const Case& each : cases) {
        AnswerRequest asked = request(each.provider);
        asked.effort = each.effort;
        const auto adapter = adapterFor(each.provider);
        const bool isTold = !each.told.startsWith('-');
        const QByteArray word = each.told.sliced(isTold ? 0 : 1);
        EXPECT_EQ(adapter->call(asked, {}).body.contains(word), isTold) << each.told.constData();
        EXPECT_FALSE(adapter->call(asked, {true, false}).body.contains(word));
    }
    AnswerRequest luna = request(Provider::OpenAI);
    luna.model.id = u"openai-luna"_s;
    EXPECT_TRUE(adapterFor(Provider::OpenAI)->call(luna, {}).body.contains(R"("effort":"low")"));
}

TEST(Adapters, ReadAnswersWithoutThoughtsInAnyPieces)
{
    struct Case {
        Provider provider;
        QByteArrayList events;
        QString answer;
    };
    const QString refused = u"!%1 refuses to write this for reasons of safety. Ask in other words."_s;
    const QString unfinished = u"!%1 stopped before the text was complete. Ask for less."_s;
    const Case cases[] = {
        {Provider::OpenAI,
            {R"({"type":"response.created"})", R"({"type":"response.reasoning_summary_text.delta","delta":"hm"})",
                R"({"type":"response.output_text.delta","delta":"Grü"})",
                R"({"type":"response.output_text.delta","delta":"ße 😀"})",
                R"({"type":"response.completed","response":{}})", "[DONE]"},
            u"Grüße 😀"_s},
        {Provider::OpenAI, {R"({"type":"response.output_text.delta","delta":"half"})"}, u"(no end)"_s},
        {Provider::OpenAI,
            {R"({"type":"response.incomplete","response":{"incomplete_details":{"reason":"max_output_tokens"}}})"},
            unfinished.arg(u"OpenAI"_s)},
        {Provider::OpenAI,
            {R"({"type":"response.incomplete","response":{"incomplete_details":{"reason":"content_filter"}}})"},
            refused.arg(u"OpenAI"_s)},
        {Provider::OpenAI, {R"({"type":"response.refusal.delta","delta":"I can't"})"}, refused.arg(u"OpenAI"_s)},
        {Provider::OpenAI,
            {R"({"type":"response.failed","response":{"error":{"code":"context_length_exceeded","message":"m"}}})"},
            u"!The selected context is too large for this writing model."_s},
        {Provider::OpenAI, {R"({"type":"error","code":"server_is_overloaded","message":"m"})"},
            u"!OpenAI is overloaded or out of order. Try again in a moment."_s},
        {Provider::Gemini,
            {R"({"candidates":[{"content":{"parts":[{"text":"deep","thought":true},{"text":"Hi"}]}}]})",
                R"({"candidates":[{"content":{"parts":[{"text":" you"}]},"finishReason":"STOP"}]})"},
            u"Hi you"_s},
        {Provider::Gemini, {R"({"candidates":[{"finishReason":"MAX_TOKENS"}]})"}, unfinished.arg(u"Gemini"_s)},
        {Provider::Gemini, {R"({"candidates":[{"finishReason":"SAFETY"}]})"}, refused.arg(u"Gemini"_s)},
        {Provider::Gemini, {R"({"promptFeedback":{"blockReason":"OTHER"}})"}, refused.arg(u"Gemini"_s)},
        {Provider::Gemini, {R"({"error":{"code":503,"status":"UNAVAILABLE","message":"m"}})"},
            u"!Gemini is overloaded or out of order. Try again in a moment."_s},
        {Provider::Mistral,
            {R"({"choices":[{"delta":{"content":[{"type":"thinking","thinking":[{"type":"text","text":"hm"}]}]}}]})",
                R"({"choices":[{"delta":{"content":[{"type":"thinking","thinking":[]},{"type":"text","text":"A"}]}}]})",
                R"({"choices":[{"delta":{"content":"b"},"finish_reason":"stop"}]})", "[DONE]"},
            u"Ab"_s},
        {Provider::Mistral, {R"({"choices":[{"delta":{},"finish_reason":"model_length"}]})"},
            unfinished.arg(u"Mistral"_s)},
        {Provider::Mistral, {R"({"object":"error","message":"m","type":"rate_limited","code":"1300"})"},
            u"!Mistral receives too many requests from you. Try again in a moment."_s},
        {Provider::LlamaCPP,
            {R"({"choices":[{"delta":{"role":"assistant","content":null}}]})",
                R"({"choices":[{"delta":{"reasoning_content":"hm"}}]})", R"({"choices":[],"usage":{}})",
                R"({"choices":[{"delta":{"content":" <thi"}}]})", R"({"choices":[{"delta":{"content":"nk>hm</th"}}]})",
                R"({"choices":[{"delta":{"content":"ink>So"}}]})",
                R"({"choices":[{"delta":{},"finish_reason":"stop"}]})"},
            u"So"_s},
        {Provider::LlamaCPP, {R"({"choices":[{"delta":{"content":"hm hm</think>\n\nSo"},"finish_reason":"stop"}]})"},
            u"\n\nSo"_s},
        {Provider::LlamaCPP, {R"({"choices":[{"delta":{"content":"<th"},"finish_reason":"stop"}]})"}, u"<th"_s},
        {Provider::LlamaCPP, {R"({"choices":[{"delta":{},"finish_reason":"length"}]})"}, unfinished.arg(u"Qwen"_s)},
        {Provider::LlamaCPP, {"not JSON", "{}", "[]"}, u"(no end)"_s},
    };
    for (const Case& each : cases) {
        for (const qsizetype size : {1, 5, 100000}) {
            EXPECT_EQ(answerOf(each.provider, each.events, size, "\n"), each.answer);
            EXPECT_EQ(answerOf(each.provider, each.events, size, "\r\n"), each.answer);
        }
    }
}

TEST(Adapters, TurnEveryDocumentedErrorIntoASentence)
{
    struct Case {
        int status;
        QByteArray retryAfter;
        QByteArray body;
        QString sentence;
    };
    const QString key = u"X does not accept your API key. Enter it again."_s;
    const QString tooLong = u"The selected context is too large for this writing model."_s;
    const QString busy = u"X is overloaded or out of order. Try again in a moment."_s;
    const QString noAccess = u"X does not allow your API key to use this model from here."_s;
    const QString noCredit = u"Your X account has no credit left. Add some, or choose another model."_s;
    const Case cases[] = {
        {401, "", R"({"error":{"message":"Incorrect API key provided: sk-abc","code":"invalid_api_key"}})", key},
        {401, "", R"({"detail":"Unauthorized"})", key},
        {400, "",
            R"([{"error":{"code":400,"message":"API key not valid. Please pass a valid API key.","status":"INVALID_ARGUMENT","details":[{"reason":"API_KEY_INVALID"}]}}])",
            key},
        {403, "", R"({"error":{"status":"PERMISSION_DENIED","message":"m"}})", noAccess},
        {400, "", R"({"error":{"status":"FAILED_PRECONDITION","message":"not in your country"}})", noAccess},
        {429, "20", R"({"error":{"code":"rate_limit_exceeded","type":"requests","message":"m"}})",
            u"X receives too many requests from you. Try again in 20 seconds."_s},
        {429, "",
            R"({"error":{"code":429,"status":"RESOURCE_EXHAUSTED","message":"m","details":[{"@type":"t","retryDelay":"52.3s"}]}})",
            u"X receives too many requests from you. Try again in 53 seconds."_s},
        {429, "", R"({"message":"Requests rate limit exceeded"})",
            u"X receives too many requests from you. Try again in a moment."_s},
        {429, "", R"({"error":{"code":"insufficient_quota","type":"insufficient_quota","message":"m"}})", noCredit},
        {429, "", R"({"error":{"code":"credit_balance_exhausted","message":"m"}})", noCredit},
        {400, "", R"({"error":{"code":"context_length_exceeded","message":"m"}})", tooLong},
        {400, "",
            R"({"error":{"code":400,"status":"INVALID_ARGUMENT","message":"The input token count (9) exceeds the maximum number of tokens allowed (8)."}})",
            tooLong},
        {400, "", R"({"error":{"code":400,"type":"exceed_context_size_error","message":"m","n_ctx":5}})", tooLong},
        {404, "", R"({"error":{"code":"model_not_found","message":"m"}})",
            u"X does not know the model model-1. Choose another."_s},
        {503, "", R"({"error":{"code":503,"status":"UNAVAILABLE","message":"m"}})", busy},
        {500, "", R"({"error":{"code":500,"status":"INTERNAL","message":"m"}})", busy},
        {504, "", "<html>gateway</html>", busy},
        {422, "", R"({"detail":[{"loc":["body"],"msg":"bad field","type":"t"}]})", u"X could not answer: bad field"_s},
        {400, "", R"({"error":{"message":"key sk-secretsecretsecret or AIzaSyABCDEF is odd"}})",
            u"X could not answer: key … or … is odd"_s},
        {400, "", "plain words", u"X could not answer: plain words"_s},
        {418, "", "", u"X could not answer (error 418)."_s},
    };
    for (const Case& each : cases)
        EXPECT_EQ(
            failureFor({each.status, each.retryAfter, each.body}, request(Provider::OpenAI), u"X"_s).description(),
            each.sentence)
            << each.body.constData();
}

TEST(Adapters, RefuseAnAddressThatIsNotSafe)
{
    for (const char* address : {"http://proxy.example", "ftp://x", "https://", "nonsense"}) {
        qputenv("TALLOWFERN_OPENAI_BASE_URL", address);
        EXPECT_THROW(adapterFor(Provider::OpenAI)->call(request(Provider::OpenAI), {}), AnswerFailure) << address;
    }
    qputenv("TALLOWFERN_OPENAI_BASE_URL", "https://gateway.example/openai/");
    EXPECT_EQ(adapterFor(Provider::OpenAI)->call(request(Provider::OpenAI), {}).url.toString(),
        u"https://gateway.example/openai/responses"_s);
    qunsetenv("TALLOWFERN_OPENAI_BASE_URL");
}

} // namespace tallowfern
