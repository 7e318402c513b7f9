#pragma once

#include "core/Preferences.h"
#include "speech/ModelStore.h"

#include <optional>

namespace tallowfern {

/// The speech model that the user has chosen; nothing when the stored identifier is not in the catalogue.
std::optional<SpeechModel> selectedModel(const ModelStore& models, const Preferences& preferences);

} // namespace tallowfern
