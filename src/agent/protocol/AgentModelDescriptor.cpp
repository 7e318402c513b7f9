#include "agent/protocol/AgentModelDescriptor.h"

#include <algorithm>

namespace tallowfern {

namespace {

std::optional<AgentModelArtifact> firstOf(const QList<AgentModelArtifact>& artifacts, AgentModelArtifact::Role role)
{
    const auto found = std::find_if(artifacts.begin(), artifacts.end(),
        [role](const AgentModelArtifact& artifact) { return artifact.role == role; });
    return found == artifacts.end() ? std::nullopt : std::optional(*found);
}

} // namespace

AgentWritingProvider writingProvider(AgentModelProvider provider)
{
    switch (provider) {
    case AgentModelProvider::AppleSystem:
    case AgentModelProvider::LlamaCPP:
        return AgentWritingProvider::Local;
    case AgentModelProvider::OpenAI:
        return AgentWritingProvider::OpenAI;
    case AgentModelProvider::Gemini:
        return AgentWritingProvider::Gemini;
    case AgentModelProvider::Mistral:
        return AgentWritingProvider::Mistral;
    }
    return AgentWritingProvider::Local;
}

bool isCloud(AgentModelProvider provider)
{
    return writingProvider(provider) != AgentWritingProvider::Local;
}

std::optional<AgentModelArtifact> AgentModelDescriptor::modelArtifact() const
{
    return firstOf(artifacts, AgentModelArtifact::Role::Model);
}

std::optional<AgentModelArtifact> AgentModelDescriptor::projectorArtifact() const
{
    return firstOf(artifacts, AgentModelArtifact::Role::VisionProjector);
}

} // namespace tallowfern
