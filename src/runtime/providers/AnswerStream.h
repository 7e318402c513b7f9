#pragma once

#include "foundation/Clock.h"
#include "runtime/providers/AnswerFailure.h"
#include "runtime/providers/AnswerRequest.h"
#include "runtime/providers/HttpStream.h"

#include <QCoroTask>

#include <functional>

namespace tallowfern {

/// Asks one service for an answer and hands it over as it comes, without the model's thoughts. Main thread.
class AnswerStream {
public:
    struct Listener {
        std::function<void()> onSent; ///< the service has the whole request; again, if it had to be sent again
        std::function<void(const QString& piece)> onText;
    };

    explicit AnswerStream(Clock& clock);

    /// The whole text, not trimmed. What breaks before the first piece of text is tried once more where that may help.
    /// Throws AnswerFailure; one of the cause Cancelled at once when `stop` is requested.
    QCoro::Task<QString> answer(AnswerRequest request, Listener listener, std::stop_token stop);

private:
    struct Attempt;

    QCoro::Task<Attempt> attempt(AnswerRequest request, Fallback fallback, Listener listener, std::stop_token stop);

    Clock& m_clock;
    HttpStream m_http;
};

} // namespace tallowfern
