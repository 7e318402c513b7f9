#include "agent/protocol/AgentRuntimeError.h"

#include "foundation/Words.h"

namespace tallowfern {

AgentRuntimeError AgentRuntimeError::cloudRequestLimitReached(qint64 limit)
{
    AgentRuntimeError error(Cause::CloudRequestLimitReached);
    error.m_sentence = words("Tallowfern paused cloud requests after %1 commands in one minute. Wait briefly and try "
                             "again.")
                           .arg(limit);
    return error;
}

AgentRuntimeError AgentRuntimeError::writingModelUnavailable(QString sentence)
{
    AgentRuntimeError error(Cause::WritingModelUnavailable);
    error.m_sentence = std::move(sentence);
    return error;
}

AgentRuntimeError AgentRuntimeError::modelImportFailed(QString sentence)
{
    AgentRuntimeError error(Cause::ModelImportFailed);
    error.m_sentence = std::move(sentence);
    return error;
}

QString AgentRuntimeError::description() const
{
    switch (m_cause) {
    case Cause::Busy:
        return words("Command is already working.");
    case Cause::SpeechModelUnavailable:
        return words("Download the selected speech model first.");
    case Cause::ScreenshotsUnsupported:
        return words("Switch to an image-capable model to include a screenshot.");
    case Cause::ScreenRecordingDenied:
        return words("Screen Recording access is required for the screenshot shortcut.");
    case Cause::NoInstruction:
        return words("No instruction was detected.");
    case Cause::ContextTooLarge:
        return words("The selected context is too large for this writing model.");
    case Cause::RuntimeMissing:
        return words("The bundled Command runtime is missing.");
    case Cause::InvalidRuntimeResponse:
        return words("Command returned an invalid response.");
    case Cause::CloudRequestLimitReached:
    case Cause::WritingModelUnavailable:
    case Cause::ModelImportFailed:
        break;
    }
    return m_sentence;
}

} // namespace tallowfern
