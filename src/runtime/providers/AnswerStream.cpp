#include "runtime/providers/AnswerStream.h"

#include "runtime/providers/SseReader.h"
#include "runtime/providers/ThinkingFilter.h"

#include <QJsonDocument>

namespace tallowfern {

using Cause = AnswerFailure::Cause;

namespace {

constexpr double kSecondsBeforeRetry = 1;

/// A moment later the same may go well.
bool isPassing(const std::optional<AnswerFailure>& failure, int status)
{
    return status == 502 || status == 503 || status == 529
        || (status == 0 && failure && failure->cause() == Cause::Unreachable);
}

} // namespace

/// How one try went.
struct AnswerStream::Attempt {
    QString text;
    bool hasEnded = false; ///< naturally
    std::optional<AnswerFailure> failure;
    ServiceReply reply;
};

AnswerStream::AnswerStream(Clock& clock)
    : m_clock(clock)
{
}

QCoro::Task<QString> AnswerStream::answer(AnswerRequest request, Listener listener, std::stop_token stop)
{
    const auto adapter = adapterFor(request.model.provider);
    const QByteArray effortField = adapter->effortField(request);
    Clock& clock = m_clock;
    Fallback fallback;
    bool wasRepeated = false;
    while (true) {
        auto trying = attempt(request, fallback, listener, stop);
        const Attempt tried = co_await trying;
        if (stop.stop_requested())
            throw failure(Cause::Cancelled, adapter->label(request));
        if (tried.hasEnded)
            co_return tried.text;
        const AnswerFailure failed = tried.failure.value_or(failure(Cause::CutOff, adapter->label(request)));
        if (!tried.text.isEmpty())
            throw failed; // what was shown is not begun anew
        const int status = tried.reply.status;
        if (status == 400 && !fallback.withoutEffort && !effortField.isEmpty()
            && tried.reply.body.contains(effortField)) {
            fallback.withoutEffort = true;
        } else if ((status == 400 || status == 500) && !request.localServer.isEmpty() && !fallback.systemInFirstMessage
            && !request.prompt.system.isEmpty() && failed.cause() == Cause::Other) {
            fallback.systemInFirstMessage = true;
        } else if (!wasRepeated && isPassing(failed, status)) {
            wasRepeated = true;
            co_await clock.sleep(kSecondsBeforeRetry, stop);
            if (stop.stop_requested())
                throw failure(Cause::Cancelled, adapter->label(request));
        } else {
            throw failed;
        }
    }
}

QCoro::Task<AnswerStream::Attempt> AnswerStream::attempt(
    AnswerRequest request, Fallback fallback, Listener listener, std::stop_token stop)
{
    const auto adapter = adapterFor(request.model.provider);
    Attempt tried;
    SseReader events;
    ThinkingFilter thoughts;
    const bool mayThinkAloud = !request.localServer.isEmpty();
    const auto say = [&](const QString& piece) {
        tried.text += piece;
        if (!piece.isEmpty())
            listener.onText(piece);
    };
    HttpStream::Listener http;
    http.onSent = listener.onSent;
    http.onBytes = [&](const QByteArray& bytes) {
        for (const QByteArray& data : events.append(bytes)) {
            const Piece piece = adapter->read(QJsonDocument::fromJson(data).object(), request);
            if (!piece.text.isEmpty())
                say(mayThinkAloud ? thoughts.pass(piece.text) : piece.text);
            tried.failure = piece.failure;
            tried.hasEnded = piece.isEnd;
            if (tried.failure || tried.hasEnded)
                return true;
        }
        return false;
    };
    auto posting = m_http.post(adapter->call(request, fallback), http, stop);
    const HttpStream::Ending ending = co_await posting;
    tried.reply = ending.reply;
    if (tried.hasEnded && mayThinkAloud) {
        say(thoughts.rest());
        tried.text = ThinkingFilter::withoutThoughts(tried.text);
    } else if (!tried.hasEnded && !tried.failure) {
        const int status = ending.reply.status;
        if (ending.broken)
            tried.failure = failure(*ending.broken, adapter->label(request));
        else if (status < 200 || status >= 300)
            tried.failure = failureFor(ending.reply, request, adapter->label(request));
    }
    co_return tried;
}

} // namespace tallowfern
