#include "runtime/providers/ChatAdapter.h"

#include "runtime/providers/ServiceErrors.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace tallowfern {

using namespace Qt::StringLiterals;
using Cause = AnswerFailure::Cause;

namespace {

constexpr double kLocalTemperature = 0.3; // small models wander at their default

/// A string, or parts of which only the text counts; thinking is another kind of part.
QString textOf(const QJsonValue& content)
{
    if (!content.isArray())
        return content.toString();
    QString text;
    const QJsonArray parts = content.toArray();
    for (const auto& part : parts) {
        if (part.toObject()[u"type"_s].toString() == u"text"_s)
            text += part.toObject()[u"text"_s].toString();
    }
    return text;
}

} // namespace

QString ChatAdapter::label(const AnswerRequest& request) const
{
    return isLocal() ? request.model.name : tallowfern::label(AgentWritingProvider::Mistral);
}

QByteArray ChatAdapter::effortField(const AnswerRequest& request) const
{
    return isLocal() || request.effort == AgentReasoningEffort::Automatic ? QByteArray()
                                                                          : QByteArray("reasoning_effort");
}

QJsonObject ChatAdapter::message(const PromptMessage& message) const
{
    const QString role = enumToString(message.role);
    if (message.images.isEmpty())
        return {{u"role"_s, role}, {u"content"_s, message.text}};
    QJsonArray parts;
    for (const PromptImage& image : message.images) {
        const QJsonValue url
            = isLocal() ? QJsonValue(QJsonObject{{u"url"_s, dataUrl(image)}}) : QJsonValue(dataUrl(image));
        parts.append(QJsonObject{{u"type"_s, u"image_url"_s}, {u"image_url"_s, url}});
    }
    parts.append(QJsonObject{{u"type"_s, u"text"_s}, {u"text"_s, message.text}});
    return {{u"role"_s, role}, {u"content"_s, parts}};
}

ServiceCall ChatAdapter::call(const AnswerRequest& request, Fallback fallback) const
{
    QList<PromptMessage> messages = request.prompt.messages;
    const QString& system = request.prompt.system;
    QJsonArray said;
    if (!system.isEmpty() && fallback.systemInFirstMessage && !messages.isEmpty())
        messages.first().text.prepend(system + u"\n\n"_s);
    else if (!system.isEmpty())
        said.append(QJsonObject{{u"role"_s, u"system"_s}, {u"content"_s, system}});
    for (const PromptMessage& each : messages)
        said.append(message(each));
    QJsonObject body{{u"stream"_s, true}, {u"messages"_s, said}};
    const QList<std::pair<QByteArray, QByteArray>> headers{{"Authorization", "Bearer " + request.key.reveal()}};
    if (isLocal()) {
        body.insert(u"temperature"_s, kLocalTemperature);
        QUrl url = request.localServer;
        url.setPath(u"/v1/chat/completions"_s);
        return {url, headers, QJsonDocument(body).toJson(QJsonDocument::Compact)};
    }
    body.insert(u"model"_s, request.model.officialName);
    if (!effortField(request).isEmpty() && !fallback.withoutEffort)
        body.insert(u"reasoning_effort"_s, enumToString(request.effort));
    return {serviceAddress(
                "TALLOWFERN_MISTRAL_BASE_URL", u"https://api.mistral.ai/v1"_s, u"/chat/completions"_s, label(request)),
        headers, QJsonDocument(body).toJson(QJsonDocument::Compact)};
}

Piece ChatAdapter::read(const QJsonObject& event, const AnswerRequest& request) const
{
    if (event.contains(u"error"_s) || event[u"object"_s].toString() == u"error"_s) {
        const QJsonObject error = event[u"error"_s].toObject();
        return {{}, false, failureInStream(error.isEmpty() ? event : error, request, label(request))};
    }
    const QJsonValue choice = event[u"choices"_s][0]; // there may be none, where only the usage is told
    Piece piece{textOf(choice[u"delta"_s][u"content"_s]), false, {}};
    const QString reason = choice[u"finish_reason"_s].toString();
    piece.isEnd = reason == u"stop"_s;
    if (reason == u"length"_s || reason == u"model_length"_s)
        piece.failure = failure(Cause::Unfinished, label(request));
    else if (reason == u"content_filter"_s)
        piece.failure = failure(Cause::Refused, label(request));
    else if (!reason.isEmpty() && !piece.isEnd)
        piece.failure = failure(Cause::CutOff, label(request));
    return piece;
}

} // namespace tallowfern
