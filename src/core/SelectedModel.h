#pragma once

#include "agent/models/AgentModelStore.h"
#include "core/Preferences.h"
#include "speech/ModelStore.h"

#include <optional>

namespace tallowfern {

/// The speech model that the user has chosen; nothing when the stored identifier is not in the catalogue.
std::optional<SpeechModel> selectedModel(const ModelStore& models, const Preferences& preferences);

/// The writing model in force; nothing when there is none of the stored identifier.
std::optional<AgentModelDescriptor> selectedAgentModel(const AgentModelStore& models, const Preferences& preferences);

} // namespace tallowfern
