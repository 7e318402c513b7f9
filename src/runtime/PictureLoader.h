#pragma once

#include "runtime/providers/Prompt.h"

namespace tallowfern {

/// The longest side that a picture keeps, in pixels: picture tokens are money in the cloud, and time on a processor.
constexpr int kCloudPictureSide = 1568;
constexpr int kLocalPictureSide = 1024;

/// Reads the prompt's pictures and makes them as small as needed; those of earlier turns that are gone are left out.
/// Takes up to half a second for a large screenshot. Throws SystemError for one of this turn.
void loadPictures(Prompt& prompt, int longestSide);

} // namespace tallowfern
