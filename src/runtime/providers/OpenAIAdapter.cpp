#include "runtime/providers/OpenAIAdapter.h"

#include "runtime/providers/ServiceErrors.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace tallowfern {

using namespace Qt::StringLiterals;
using Cause = AnswerFailure::Cause;

namespace {

QString effort(const AnswerRequest& request)
{
    if (request.effort != AgentReasoningEffort::Automatic)
        return enumToString(request.effort);
    return request.model.id == u"openai-luna"_s ? u"low"_s : u"medium"_s;
}

QJsonObject message(const PromptMessage& message)
{
    if (message.role == AgentMessageRole::Assistant) // a plain string: parts are refused here
        return {{u"role"_s, u"assistant"_s}, {u"content"_s, message.text}};
    QJsonArray parts;
    for (const PromptImage& image : message.images)
        parts.append(
            QJsonObject{{u"type"_s, u"input_image"_s}, {u"detail"_s, u"auto"_s}, {u"image_url"_s, dataUrl(image)}});
    parts.append(QJsonObject{{u"type"_s, u"input_text"_s}, {u"text"_s, message.text}});
    return {{u"role"_s, u"user"_s}, {u"content"_s, parts}};
}

} // namespace

QString OpenAIAdapter::label(const AnswerRequest&) const
{
    return tallowfern::label(AgentWritingProvider::OpenAI);
}

ServiceCall OpenAIAdapter::call(const AnswerRequest& request, Fallback fallback) const
{
    QJsonObject body{{u"model"_s, request.model.officialName}, {u"store"_s, false}, {u"stream"_s, true}};
    if (!request.prompt.system.isEmpty())
        body.insert(u"instructions"_s, request.prompt.system);
    if (!fallback.withoutEffort)
        body.insert(u"reasoning"_s, QJsonObject{{u"effort"_s, effort(request)}});
    QJsonArray input;
    for (const PromptMessage& each : request.prompt.messages)
        input.append(message(each));
    body.insert(u"input"_s, input);
    return {
        serviceAddress("TALLOWFERN_OPENAI_BASE_URL", u"https://api.openai.com/v1"_s, u"/responses"_s, label(request)),
        {{"Authorization", "Bearer " + request.key.reveal()}}, QJsonDocument(body).toJson(QJsonDocument::Compact)};
}

Piece OpenAIAdapter::read(const QJsonObject& event, const AnswerRequest& request) const
{
    const QString type = event[u"type"_s].toString();
    if (type == u"response.output_text.delta"_s)
        return {event[u"delta"_s].toString(), false, {}};
    if (type == u"response.completed"_s)
        return {{}, true, {}};
    if (type == u"response.refusal.delta"_s)
        return {{}, false, failure(Cause::Refused, label(request))};
    if (type == u"response.incomplete"_s) {
        const QString reason = event[u"response"_s][u"incomplete_details"_s][u"reason"_s].toString();
        return {{}, false, failure(reason == u"content_filter"_s ? Cause::Refused : Cause::Unfinished, label(request))};
    }
    if (type == u"response.failed"_s)
        return {{}, false, failureInStream(event[u"response"_s][u"error"_s].toObject(), request, label(request))};
    if (type == u"error"_s || event.contains(u"error"_s)) {
        const QJsonObject error = event[u"error"_s].toObject();
        return {{}, false, failureInStream(error.isEmpty() ? event : error, request, label(request))};
    }
    return {};
}

} // namespace tallowfern
