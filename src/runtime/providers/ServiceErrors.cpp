#include "runtime/providers/ServiceErrors.h"

#include "foundation/Words.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <cmath>

namespace tallowfern {

using namespace Qt::StringLiterals;
using Cause = AnswerFailure::Cause;

namespace {

constexpr qsizetype kLongestQuote = 200; // characters

/// The error of a reply, in whichever of the services' shapes.
struct Complaint {
    QString message;
    QString code; ///< "code", "type", "status" and reasons, all in one
    double waitSeconds = 0; ///< 0: not told
};

QString messageOf(const QJsonObject& object)
{
    const QJsonValue detail = object[u"detail"_s];
    for (const QJsonValue& each : {object[u"message"_s], detail, detail[0][u"msg"_s]}) {
        if (each.isString())
            return each.toString();
    }
    return {};
}

Complaint complaintOf(const QJsonObject& error)
{
    Complaint found{messageOf(error), {}, 0};
    QStringList codes;
    for (const QString& key : {u"code"_s, u"type"_s, u"status"_s})
        codes.append(error[key].toVariant().toString());
    const QJsonArray details = error[u"details"_s].toArray();
    for (const auto& detail : details) {
        codes.append(detail.toObject()[u"reason"_s].toString());
        QString delay = detail.toObject()[u"retryDelay"_s].toString(); // "53s"
        delay.chop(delay.endsWith(u's') ? 1 : 0);
        found.waitSeconds = std::max(found.waitSeconds, delay.toDouble());
    }
    found.code = codes.join(u' ');
    return found;
}

Complaint complaintOf(const ServiceReply& reply)
{
    QJsonDocument document = QJsonDocument::fromJson(reply.body);
    QJsonObject object = document.isArray() ? document.array().at(0).toObject() : document.object();
    if (object.value(u"error"_s).isObject())
        object = object.value(u"error"_s).toObject();
    Complaint found = complaintOf(object);
    if (found.message.isEmpty() && object.isEmpty())
        found.message = QString::fromUtf8(reply.body.left(4 * kLongestQuote)).simplified();
    found.waitSeconds = std::max(found.waitSeconds, reply.retryAfter.toDouble());
    return found;
}

bool holdsAny(const QString& text, std::initializer_list<const char*> words)
{
    return std::any_of(words.begin(), words.end(),
        [&](const char* word) { return text.contains(QLatin1StringView(word), Qt::CaseInsensitive); });
}

Cause causeOf(int status, const Complaint& complaint)
{
    const QString everything = complaint.code + u' ' + complaint.message;
    if (holdsAny(everything, {"API_KEY_INVALID", "API key not valid", "invalid_api_key"}) || status == 401)
        return Cause::BadKey;
    if (holdsAny(complaint.code, {"insufficient_quota", "credit_", "billing"}) || status == 402)
        return Cause::NoCredit;
    if (holdsAny(everything,
            {"context_length_exceeded", "exceed_context_size", "exceeds the maximum number of tokens", "context window",
                "context length", "too long", "too large"})
        || status == 413)
        return Cause::TooLong;
    if (status == 403 || holdsAny(complaint.code, {"FAILED_PRECONDITION", "PERMISSION_DENIED"}))
        return Cause::NoAccess;
    if (status == 429 || holdsAny(complaint.code, {"rate_limit", "rate_limited", "RESOURCE_EXHAUSTED"}))
        return Cause::RateLimited;
    if (status == 404 || holdsAny(complaint.code, {"model_not_found", "NOT_FOUND"}))
        return Cause::UnknownModel;
    if (holdsAny(complaint.code, {"content_filter", "content_policy"}))
        return Cause::Refused;
    const bool isDown = status == 408 || status == 409 || status >= 502
        || holdsAny(complaint.code, {"server_is_overloaded", "slow_down", "UNAVAILABLE", "INTERNAL", "overloaded"});
    return isDown ? Cause::Busy : Cause::Other;
}

QString blanked(QString text, const Secret& key)
{
    static const QRegularExpression likeAKey(u"\\b(sk|AIza)[-_A-Za-z0-9*]{4,}"_s);
    if (!key.isEmpty())
        text.replace(QString::fromUtf8(key.reveal()), u"…"_s);
    return text.replace(likeAKey, u"…"_s).left(kLongestQuote);
}

AnswerFailure sentenceFor(int status, const Complaint& complaint, const AnswerRequest& request, const QString& service)
{
    const Cause cause = causeOf(status, complaint);
    if (cause == Cause::RateLimited && complaint.waitSeconds >= 1)
        return {cause,
            words("%1 receives too many requests from you. Try again in %2 seconds.")
                .arg(service)
                .arg(qint64(std::ceil(complaint.waitSeconds)))};
    if (cause == Cause::UnknownModel)
        return {
            cause, words("%1 does not know the model %2. Choose another.").arg(service, request.model.officialName)};
    if (cause != Cause::Other)
        return failure(cause, service);
    const QString said = blanked(complaint.message, request.key);
    return {cause,
        said.isEmpty() ? words("%1 could not answer (error %2).").arg(service).arg(status)
                       : words("%1 could not answer: %2").arg(service, said)};
}

} // namespace

AnswerFailure failure(Cause cause, const QString& service)
{
    switch (cause) {
    case Cause::BadKey:
        return {cause, words("%1 does not accept your API key. Enter it again.").arg(service)};
    case Cause::NoAccess:
        return {cause, words("%1 does not allow your API key to use this model from here.").arg(service)};
    case Cause::NoCredit:
        return {cause, words("Your %1 account has no credit left. Add some, or choose another model.").arg(service)};
    case Cause::RateLimited:
        return {cause, words("%1 receives too many requests from you. Try again in a moment.").arg(service)};
    case Cause::TooLong:
        return {cause, words("The selected context is too large for this writing model.")};
    case Cause::UnknownModel:
        return {cause, words("%1 does not know this model. Choose another.").arg(service)};
    case Cause::Busy:
        return {cause, words("%1 is overloaded or out of order. Try again in a moment.").arg(service)};
    case Cause::Unreachable:
        return {cause, words("%1 could not be reached.").arg(service)};
    case Cause::Untrusted:
        return {cause, words("%1 could not prove its identity, so nothing was sent.").arg(service)};
    case Cause::Redirected:
        return {cause, words("%1 points to another address, to which nothing was sent.").arg(service)};
    case Cause::Refused:
        return {cause, words("%1 refuses to write this for reasons of safety. Ask in other words.").arg(service)};
    case Cause::Unfinished:
        return {cause, words("%1 stopped before the text was complete. Ask for less.").arg(service)};
    case Cause::CutOff:
        return {cause, words("The connection to %1 broke before the text was complete. Try again.").arg(service)};
    case Cause::Cancelled:
    case Cause::Other:
        break;
    }
    return {cause, words("%1 could not answer.").arg(service)};
}

AnswerFailure failureFor(const ServiceReply& reply, const AnswerRequest& request, const QString& service)
{
    return sentenceFor(reply.status, complaintOf(reply), request, service);
}

AnswerFailure failureInStream(const QJsonObject& error, const AnswerRequest& request, const QString& service)
{
    const int status = error[u"code"_s].toInt(); // some tell what the answer's head would have been
    return sentenceFor(status, complaintOf(error), request, service);
}

QString dataUrl(const PromptImage& image)
{
    return u"data:"_s + QString::fromLatin1(image.mimeType) + u";base64,"_s + QString::fromLatin1(image.base64);
}

} // namespace tallowfern
