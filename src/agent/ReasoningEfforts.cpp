#include "agent/ReasoningEfforts.h"

#include "foundation/Words.h"

namespace tallowfern {

namespace {

using Effort = AgentReasoningEffort;
using Provider = AgentWritingProvider;

QString automaticDetail(Provider provider)
{
    switch (provider) {
    case Provider::Local:
        return words("Use the model's default behavior");
    case Provider::OpenAI:
        return words("Low for Luna; Medium for Terra and Sol");
    case Provider::Gemini:
        return words("Use the default thinking level for the selected Gemini model");
    case Provider::Mistral:
        return words("Use Mistral's default reasoning behavior");
    }
    return {};
}

/// Where the settings keep it; nowhere for models on this computer.
Effort AgentSettings::*effortField(Provider provider)
{
    switch (provider) {
    case Provider::OpenAI:
        return &AgentSettings::openAIReasoningEffort;
    case Provider::Gemini:
        return &AgentSettings::geminiReasoningEffort;
    case Provider::Mistral:
        return &AgentSettings::mistralReasoningEffort;
    case Provider::Local:
        break;
    }
    return nullptr;
}

} // namespace

const QList<Effort>& reasoningEfforts(Provider provider)
{
    static const QList<Effort> none;
    static const QList<Effort> openAI{
        Effort::Automatic, Effort::None, Effort::Low, Effort::Medium, Effort::High, Effort::XHigh, Effort::Max};
    static const QList<Effort> gemini{Effort::Automatic, Effort::Minimal, Effort::Low, Effort::Medium, Effort::High};
    static const QList<Effort> mistral{Effort::Automatic, Effort::None, Effort::High};
    switch (provider) {
    case Provider::OpenAI:
        return openAI;
    case Provider::Gemini:
        return gemini;
    case Provider::Mistral:
        return mistral;
    case Provider::Local:
        break;
    }
    return none;
}

QString label(Effort effort)
{
    switch (effort) {
    case Effort::Automatic:
        return words("Automatic");
    case Effort::None:
    case Effort::Minimal:
        return words("Instant");
    case Effort::Low:
        return words("Quick");
    case Effort::Medium:
        return words("Balanced");
    case Effort::High:
        return words("Thorough");
    case Effort::XHigh:
        return words("Deep");
    case Effort::Max:
        return words("Max");
    }
    return {};
}

QString detail(Effort effort, Provider provider)
{
    switch (effort) {
    case Effort::Automatic:
        return automaticDetail(provider);
    case Effort::None:
    case Effort::Minimal:
        return words("No extra thinking — the fastest responses");
    case Effort::Low:
        return words("A little thinking for everyday commands");
    case Effort::Medium:
        return words("Balanced thinking, speed, and cost");
    case Effort::High:
        return words("More thinking for difficult requests");
    case Effort::XHigh:
        return words("Extended thinking for complex work");
    case Effort::Max:
        return words("Everything the model has, for the hardest requests");
    }
    return {};
}

Effort reasoningEffort(const AgentSettings& settings, Provider provider)
{
    const auto field = effortField(provider);
    return field ? settings.*field : Effort::Automatic;
}

void setReasoningEffort(AgentSettings& settings, Provider provider, Effort effort)
{
    const auto field = effortField(provider);
    if (field && reasoningEfforts(provider).contains(effort))
        settings.*field = effort;
}

} // namespace tallowfern
