#pragma once

#include "core/Preferences.h"

namespace tallowfern {

constexpr qsizetype kMostPromptProfiles = 5;

/// An empty one behind the others, with a shortcut that none of them has. Nothing when there are enough.
void addPromptProfile(Preferences& preferences);
void removePromptProfile(Preferences& preferences, const QUuid& id);

} // namespace tallowfern
