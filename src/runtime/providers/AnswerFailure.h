#pragma once

#include "foundation/LocalizedError.h"

#include <optional>

namespace tallowfern {

/// Why a service gave no whole answer.
class AnswerFailure final : public LocalizedError {
public:
    enum class Cause {
        BadKey,
        NoAccess,
        NoCredit,
        RateLimited,
        TooLong,
        UnknownModel,
        Busy,
        Unreachable,
        Untrusted,
        Redirected,
        Refused,
        Unfinished,
        CutOff,
        Cancelled,
        Other,
    };

    AnswerFailure(Cause cause, QString sentence)
        : m_cause(cause)
        , m_sentence(std::move(sentence))
    {
    }

    Cause cause() const { return m_cause; }
    QString description() const override { return m_sentence; }

private:
    Cause m_cause;
    QString m_sentence;
};

} // namespace tallowfern
