#pragma once

#include "foundation/EnumStrings.h"
#include "foundation/Words.h"

namespace tallowfern {

/// Who writes for Command.
enum class AgentWritingProvider { Local, OpenAI, Gemini, Mistral };
inline constexpr auto enumStrings(AgentWritingProvider)
{
    using E = AgentWritingProvider;
    return std::array{EnumString{E::Local, "local"}, EnumString{E::OpenAI, "openAI"}, EnumString{E::Gemini, "gemini"},
        EnumString{E::Mistral, "mistral"}};
}
/// The name in all sentences and on all screens.
inline QString label(AgentWritingProvider provider)
{
    switch (provider) {
    case AgentWritingProvider::Local:
        return words("Local");
    case AgentWritingProvider::OpenAI:
        return QStringLiteral("OpenAI");
    case AgentWritingProvider::Gemini:
        return QStringLiteral("Gemini");
    case AgentWritingProvider::Mistral:
        return QStringLiteral("Mistral");
    }
    return {};
}

/// How long a cloud model may think. None and Minimal are one to the user, and two to the models.
enum class AgentReasoningEffort { Automatic, None, Minimal, Low, Medium, High, XHigh, Max };
inline constexpr auto enumStrings(AgentReasoningEffort)
{
    using E = AgentReasoningEffort;
    return std::array{EnumString{E::Automatic, "automatic"}, EnumString{E::None, "none"},
        EnumString{E::Minimal, "minimal"}, EnumString{E::Low, "low"}, EnumString{E::Medium, "medium"},
        EnumString{E::High, "high"}, EnumString{E::XHigh, "xhigh"}, EnumString{E::Max, "max"}};
}

/// How far a Command has come.
enum class AgentPhase { Idle, Listening, Transcribing, LoadingModel, Generating, Completed, Cancelled, Error };
inline constexpr auto enumStrings(AgentPhase)
{
    using E = AgentPhase;
    return std::array{EnumString{E::Idle, "idle"}, EnumString{E::Listening, "listening"},
        EnumString{E::Transcribing, "transcribing"}, EnumString{E::LoadingModel, "loadingModel"},
        EnumString{E::Generating, "generating"}, EnumString{E::Completed, "completed"},
        EnumString{E::Cancelled, "cancelled"}, EnumString{E::Error, "error"}};
}

} // namespace tallowfern
