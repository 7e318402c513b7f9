#include "speech/TallowfernError.h"

#include "foundation/Words.h"

namespace tallowfern {

TallowfernError TallowfernError::transcriptionFailed(QString message)
{
    TallowfernError error(Cause::TranscriptionFailed);
    error.m_message = std::move(message);
    return error;
}

QString TallowfernError::description() const
{
    switch (m_cause) {
    case Cause::NoModel:
        return words("Download and select a speech model first.");
    case Cause::RecorderUnavailable:
        return words("Tallowfern could not access the microphone.");
    case Cause::EmptyTranscript:
        return words("No speech was detected.");
    case Cause::MissingEngine:
        return words("The bundled local speech engine is missing.");
    case Cause::TranscriptionFailed:
        break;
    }
    return m_message.isEmpty() ? words("The local transcription failed.") : m_message;
}

} // namespace tallowfern
