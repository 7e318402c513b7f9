#pragma once

#include "runtime/providers/ServiceAdapter.h"
#include "runtime/providers/SseReader.h"
#include "runtime/providers/ThinkingFilter.h"

#include <functional>

namespace tallowfern {

/// Makes an answer of the bytes of one stream, in whichever pieces they come.
class AnswerReader {
public:
    /// The adapter and the request outlive it.
    AnswerReader(
        const ServiceAdapter& adapter, const AnswerRequest& request, std::function<void(const QString&)> onText);

    /// True once the answer has ended, well or not: nothing after that counts.
    bool append(const QByteArray& bytes);

    /// Nothing before the model came to a natural end.
    std::optional<QString> wholeText() const;
    bool hasSpoken() const { return !m_text.isEmpty(); }
    const std::optional<AnswerFailure>& failure() const { return m_failure; }

private:
    void say(const QString& piece);
    void end();
    bool mayThinkAloud() const { return !m_request.localServer.isEmpty(); }

    const ServiceAdapter& m_adapter;
    const AnswerRequest& m_request;
    std::function<void(const QString&)> m_onText;
    SseReader m_events;
    ThinkingFilter m_thoughts;
    QString m_text;
    bool m_hasEnded = false;
    std::optional<AnswerFailure> m_failure;
};

} // namespace tallowfern
