#pragma once

#include "foundation/LocalizedError.h"

namespace tallowfern {

/// The failures of Command.
class AgentRuntimeError final : public LocalizedError {
public:
    enum class Cause {
        CloudRequestLimitReached,
        WritingModelUnavailable,
        ModelImportFailed,
        Busy,
        SpeechModelUnavailable,
        ScreenshotsUnsupported,
        ScreenRecordingDenied,
        NoInstruction,
        ContextTooLarge,
        RuntimeMissing,
        InvalidRuntimeResponse,
    };

    explicit AgentRuntimeError(Cause cause)
        : m_cause(cause)
    {
    }
    /// `limit` is the count of commands that one minute allows.
    static AgentRuntimeError cloudRequestLimitReached(qint64 limit);
    /// With the sentence that says why; also for whatever the runtime reports.
    static AgentRuntimeError writingModelUnavailable(QString sentence);
    static AgentRuntimeError modelImportFailed(QString sentence);

    Cause cause() const { return m_cause; }
    QString description() const override;

private:
    Cause m_cause;
    QString m_sentence; ///< of the causes that have none of their own
};

} // namespace tallowfern
