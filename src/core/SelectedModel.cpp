#include "core/SelectedModel.h"

#include <algorithm>

namespace tallowfern {

std::optional<SpeechModel> selectedModel(const ModelStore& models, const Preferences& preferences)
{
    const auto& catalog = models.catalog();
    const auto found = std::find_if(catalog.begin(), catalog.end(),
        [&](const SpeechModel& model) { return model.id == preferences.selectedModelID(); });
    return found == catalog.end() ? std::nullopt : std::optional(*found);
}

std::optional<AgentModelDescriptor> selectedAgentModel(const AgentModelStore& models, const Preferences& preferences)
{
    return models.descriptor(selectedModelID(preferences.agentSettings()));
}

} // namespace tallowfern
