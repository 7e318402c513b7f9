#include "runtime/providers/AnswerStream.h"

#include "runtime/providers/AnswerReader.h"

namespace tallowfern {

using Cause = AnswerFailure::Cause;

namespace {

constexpr double kSecondsBeforeRetry = 1;

/// A moment later the same may go well.
bool isPassing(const AnswerFailure& failure, int status)
{
    return status == 502 || status == 503 || status == 529 || failure.cause() == Cause::Unreachable
        || failure.cause() == Cause::CutOff;
}

} // namespace

/// How one try went.
struct AnswerStream::Attempt {
    std::optional<QString> text; ///< whole
    bool hasSpoken = false;
    AnswerFailure failure;
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
        if (tried.text)
            co_return *tried.text;
        if (tried.hasSpoken)
            throw tried.failure; // what was shown is not begun anew
        const int status = tried.reply.status;
        if (status == 400 && !fallback.withoutEffort && !effortField.isEmpty()
            && tried.reply.body.contains(effortField)) {
            fallback.withoutEffort = true;
        } else if ((status == 400 || status == 500) && !request.localServer.isEmpty() && !fallback.systemInFirstMessage
            && !request.prompt.system.isEmpty() && tried.failure.cause() == Cause::Other) {
            fallback.systemInFirstMessage = true;
        } else if (!wasRepeated && isPassing(tried.failure, status)) {
            wasRepeated = true;
            co_await clock.sleep(kSecondsBeforeRetry, stop);
            if (stop.stop_requested())
                throw failure(Cause::Cancelled, adapter->label(request));
        } else {
            throw tried.failure;
        }
    }
}

QCoro::Task<AnswerStream::Attempt> AnswerStream::attempt(
    AnswerRequest request, Fallback fallback, Listener listener, std::stop_token stop)
{
    const auto adapter = adapterFor(request.model.provider);
    const QString service = adapter->label(request);
    AnswerReader reader(*adapter, request, listener.onText);
    const HttpStream::Listener http{
        listener.onSent, [&reader](const QByteArray& bytes) { return reader.append(bytes); }};
    auto posting = m_http.post(adapter->call(request, fallback), http, stop);
    const HttpStream::Ending ending = co_await posting;

    Attempt tried{reader.wholeText(), reader.hasSpoken(), failure(Cause::CutOff, service), ending.reply};
    const int status = ending.reply.status;
    if (reader.failure())
        tried.failure = *reader.failure();
    else if (ending.broken)
        tried.failure = failure(*ending.broken, service);
    else if (status < 200 || status >= 300)
        tried.failure = failureFor(ending.reply, request, service);
    co_return tried;
}

} // namespace tallowfern
