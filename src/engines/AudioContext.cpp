#include "engines/AudioContext.h"

#include "engines/WavFile.h"

#include <algorithm>

namespace tallowfern {

namespace {

constexpr int kPositionsPerSecond = 50;
constexpr int kLongestFittedSeconds = 8; // beyond, words changed in trials
constexpr int kMargin = 128; // of silence after the words; with less the decoder does not find their end
// The library computes in blocks and fills the last one with zeros that the model attends to as well, 36 of them in the
// whole context. With none, or with many more, words changed in trials.
constexpr int kBlock = 256;
constexpr int kZeros = 32;

} // namespace

int fittedAudioContext(std::size_t samples, int full)
{
    if (samples > static_cast<std::size_t>(kLongestFittedSeconds) * kSamplesPerSecond)
        return 0;
    constexpr int kSamplesPerPosition = kSamplesPerSecond / kPositionsPerSecond;
    const int speech = (static_cast<int>(samples) + kSamplesPerPosition - 1) / kSamplesPerPosition;
    const int blocks = (speech + kMargin + kZeros + kBlock - 1) / kBlock;
    const int positions = std::max(2, blocks) * kBlock - kZeros;
    return positions < full ? positions : 0;
}

} // namespace tallowfern
