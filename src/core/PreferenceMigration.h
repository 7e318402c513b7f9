#pragma once

#include "platform/PreferenceStore.h"

namespace tallowfern {

/// Takes over, once, the settings of the product's earlier identity. To be called before anything reads the store.
void migrateLegacyPreferences(PreferenceStore& store);

} // namespace tallowfern
