#include "runtime/providers/GeminiAdapter.h"

#include "runtime/providers/ServiceErrors.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace tallowfern {

using namespace Qt::StringLiterals;
using Cause = AnswerFailure::Cause;

namespace {

QJsonObject content(const PromptMessage& message)
{
    QJsonArray parts;
    for (const PromptImage& image : message.images)
        parts.append(QJsonObject{{u"inlineData"_s,
            QJsonObject{{u"mimeType"_s, QString::fromLatin1(image.mimeType)},
                {u"data"_s, QString::fromLatin1(image.base64)}}}});
    parts.append(QJsonObject{{u"text"_s, message.text}});
    const bool isUser = message.role == AgentMessageRole::User;
    return {{u"role"_s, isUser ? u"user"_s : u"model"_s}, {u"parts"_s, parts}};
}

Cause causeOf(const QString& finishReason)
{
    if (finishReason == u"MAX_TOKENS"_s)
        return Cause::Unfinished;
    if (finishReason == u"MALFORMED_FUNCTION_CALL"_s || finishReason == u"OTHER"_s)
        return Cause::CutOff;
    return Cause::Refused; // SAFETY, PROHIBITED_CONTENT, RECITATION, and whatever else it will not say
}

} // namespace

QString GeminiAdapter::label(const AnswerRequest&) const
{
    return tallowfern::label(AgentWritingProvider::Gemini);
}

QByteArray GeminiAdapter::effortField(const AnswerRequest& request) const
{
    return request.effort == AgentReasoningEffort::Automatic ? QByteArray() : QByteArray("thinking");
}

ServiceCall GeminiAdapter::call(const AnswerRequest& request, Fallback fallback) const
{
    QJsonObject body;
    if (!request.prompt.system.isEmpty())
        body.insert(u"systemInstruction"_s,
            QJsonObject{{u"parts"_s, QJsonArray{QJsonObject{{u"text"_s, request.prompt.system}}}}});
    if (request.effort != AgentReasoningEffort::Automatic && !fallback.withoutEffort)
        body.insert(u"generationConfig"_s,
            QJsonObject{
                {u"thinkingConfig"_s, QJsonObject{{u"thinkingLevel"_s, enumToString(request.effort).toUpper()}}}});
    QJsonArray contents;
    for (const PromptMessage& each : request.prompt.messages)
        contents.append(content(each));
    body.insert(u"contents"_s, contents);
    const QString path = u"/models/%1:streamGenerateContent?alt=sse"_s.arg(request.model.officialName);
    return {serviceAddress("TALLOWFERN_GEMINI_BASE_URL", u"https://generativelanguage.googleapis.com/v1beta"_s, path,
                label(request)),
        {{"x-goog-api-key", request.key.reveal()}}, QJsonDocument(body).toJson(QJsonDocument::Compact)};
}

Piece GeminiAdapter::read(const QJsonObject& event, const AnswerRequest& request) const
{
    if (event.contains(u"error"_s))
        return {{}, false, failureInStream(event[u"error"_s].toObject(), request, label(request))};
    if (event[u"promptFeedback"_s].toObject().contains(u"blockReason"_s))
        return {{}, false, failure(Cause::Refused, label(request))};
    Piece piece;
    const QJsonValue candidate = event[u"candidates"_s][0];
    const QJsonArray parts = candidate[u"content"_s][u"parts"_s].toArray();
    for (const auto& part : parts) {
        if (!part.toObject()[u"thought"_s].toBool())
            piece.text += part.toObject()[u"text"_s].toString();
    }
    const QString reason = candidate[u"finishReason"_s].toString();
    piece.isEnd = reason == u"STOP"_s;
    if (!reason.isEmpty() && !piece.isEnd)
        piece.failure = failure(causeOf(reason), label(request));
    return piece;
}

} // namespace tallowfern
