#pragma once

#include "engines/WavFile.h"

#include <cstddef>
#include <vector>

namespace tallowfern {

constexpr std::size_t kFrameSamples = kSamplesPerSecond / 50; ///< a frame is 20 ms

/// The loudness of each whole frame of `samples` in decibels below full scale, as the mean over the 0.3 s around it:
/// longer than the closure of a consonant, so that what is quiet here is a pause. Silence is -90.
std::vector<double> loudness(const std::vector<float>& samples);

} // namespace tallowfern
