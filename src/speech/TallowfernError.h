#pragma once

#include "foundation/LocalizedError.h"

namespace tallowfern {

/// The failures of the way from the microphone to the words.
class TallowfernError final : public LocalizedError {
public:
    enum class Cause { NoModel, RecorderUnavailable, EmptyTranscript, MissingEngine, TranscriptionFailed };

    explicit TallowfernError(Cause cause)
        : m_cause(cause)
    {
    }
    /// `message` is what the engine said; it may be empty.
    static TallowfernError transcriptionFailed(QString message);

    Cause cause() const { return m_cause; }
    QString description() const override;

private:
    Cause m_cause;
    QString m_message;
};

} // namespace tallowfern
