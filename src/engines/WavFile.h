#pragma once

#include <string>
#include <vector>

namespace tallowfern {

constexpr int kSamplesPerSecond = 16000; ///< what both engines listen to

/// The recording at `path` as 16 kHz mono samples from -1 to 1. Integer (8 to 32 bits) and float WAV of other rates and
/// channels is mixed down and resampled. A file that ends before its header says, or whose header was never completed,
/// gives what is there. Throws EngineFailure when the file cannot be read, is no such WAV, or holds no sample.
std::vector<float> readWavFile(const std::string& path);

} // namespace tallowfern
