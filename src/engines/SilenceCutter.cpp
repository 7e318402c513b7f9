#include "engines/SilenceCutter.h"

#include "engines/Loudness.h"

#include <algorithm>
#include <cmath>

namespace tallowfern {

namespace {

constexpr double kDecibelsPerSecondOff = 0.5;
constexpr std::size_t kShortestSamples = kSamplesPerSecond / 10;
constexpr float kFaintestPeak = 8.0F / 32768.0F;

/// The frame from `first` to `last` that is quietest; of equally quiet ones the one near `wanted`.
std::size_t quietestFrame(const std::vector<double>& decibels, std::size_t first, std::size_t last, std::size_t wanted)
{
    const auto cost = [&](std::size_t frame) {
        const auto framesOff = frame < wanted ? wanted - frame : frame - wanted;
        return decibels[frame] + kDecibelsPerSecondOff * static_cast<double>(framesOff) / 50;
    };
    auto best = first;
    for (auto frame = first; frame <= last; ++frame) {
        if (cost(frame) < cost(best))
            best = frame;
    }
    return best;
}

} // namespace

std::vector<Window> cutAtSilences(const std::vector<float>& samples, double longestSeconds)
{
    const auto longest = static_cast<std::size_t>(longestSeconds * kSamplesPerSecond);
    std::vector<Window> windows;
    std::vector<double> decibels;
    std::size_t begin = 0;
    while (samples.size() - begin > longest) {
        if (decibels.empty())
            decibels = loudness(samples);
        // Windows of about equal length: a short rest at the end is where models invent words.
        const auto rest = samples.size() - begin;
        const auto wanted = begin + rest / (rest / longest + 1);
        const auto first = (begin + (wanted - begin) / 2) / kFrameSamples;
        const auto last = std::min((begin + longest) / kFrameSamples, decibels.size() - 1);
        const auto cut = quietestFrame(decibels, first, last, wanted / kFrameSamples) * kFrameSamples;
        windows.push_back({begin, cut});
        begin = cut;
    }
    windows.push_back({begin, samples.size()});
    return windows;
}

bool isSilent(const std::vector<float>& samples)
{
    return samples.size() < kShortestSamples
        || std::all_of(samples.begin(), samples.end(), [](float s) { return std::abs(s) <= kFaintestPeak; });
}

} // namespace tallowfern
