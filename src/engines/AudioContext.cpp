#include "engines/AudioContext.h"

#include "engines/WavFile.h"

namespace tallowfern {

namespace {

constexpr int kPositionsPerSecond = 50;
constexpr int kLongestFittedSeconds = 10; // longer ones lost words in trials
constexpr int kMargin = 128;
constexpr int kStep = 64;
constexpr int kOffset = 32; // multiples of 256 destroyed every word in trials
constexpr int kLeast = 416;

} // namespace

int fittedAudioContext(std::size_t samples, int full)
{
    if (samples > static_cast<std::size_t>(kLongestFittedSeconds) * kSamplesPerSecond)
        return 0;
    constexpr int kSamplesPerPosition = kSamplesPerSecond / kPositionsPerSecond;
    const int speech = (static_cast<int>(samples) + kSamplesPerPosition - 1) / kSamplesPerPosition;
    int positions = (speech + kMargin + kStep - 1) / kStep * kStep + kOffset;
    if (positions < kLeast)
        positions = kLeast;
    return positions < full ? positions : 0;
}

} // namespace tallowfern
