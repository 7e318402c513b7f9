#include "engines/Loudness.h"

#include <algorithm>
#include <cmath>

namespace tallowfern {

namespace {

constexpr std::size_t kPauseFrames = 15;

} // namespace

std::vector<double> loudness(const std::vector<float>& samples)
{
    std::vector<double> sums{0};
    for (std::size_t at = 0; at + kFrameSamples <= samples.size(); at += kFrameSamples) {
        double energy = 0;
        for (std::size_t i = at; i < at + kFrameSamples; ++i)
            energy += static_cast<double>(samples[i]) * static_cast<double>(samples[i]);
        sums.push_back(sums.back() + energy);
    }
    std::vector<double> decibels(sums.size() - 1);
    for (std::size_t frame = 0; frame < decibels.size(); ++frame) {
        const auto first = frame < kPauseFrames / 2 ? 0 : frame - kPauseFrames / 2;
        const auto last = std::min(first + kPauseFrames, decibels.size());
        const auto mean = (sums[last] - sums[first]) / static_cast<double>((last - first) * kFrameSamples);
        decibels[frame] = 10 * std::log10(std::max(mean, 0.0) + 1e-9);
    }
    return decibels;
}

} // namespace tallowfern
