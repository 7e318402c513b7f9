#include "engines/PauseShortener.h"

#include "engines/Loudness.h"

#include <algorithm>

namespace tallowfern {

namespace {

constexpr std::size_t kLongPauseFrames = 50; // 1 s; trials lost no word up to there
constexpr std::size_t kKeptFrames = 10; // at each end of a pause: a word may fade into it
constexpr double kBackgroundShare = 0.05; // of the frames at least, is background
constexpr double kAboveBackground = 6; // decibels that a background varies by
constexpr double kBelowVoice = 20; // decibels that background lies under the loudest words, or it may be voice
constexpr double kInaudible = 50; // decibels under the loudest words

/// What is quieter is pause, in decibels.
double pauseLevel(const std::vector<double>& decibels)
{
    auto sorted = decibels;
    const auto low
        = sorted.begin() + static_cast<std::ptrdiff_t>(kBackgroundShare * static_cast<double>(sorted.size()));
    std::nth_element(sorted.begin(), low, sorted.end());
    const auto loudest = *std::max_element(decibels.begin(), decibels.end());
    return std::min(std::max(*low + kAboveBackground, loudest - kInaudible), loudest - kBelowVoice);
}

} // namespace

std::vector<float> withShortPauses(std::vector<float> samples)
{
    const auto decibels = loudness(samples);
    if (decibels.size() < kLongPauseFrames)
        return samples;
    const auto level = pauseLevel(decibels);
    auto kept = samples.begin();
    std::size_t from = 0;
    const auto keep = [&](std::size_t to) {
        kept = std::move(samples.begin() + static_cast<std::ptrdiff_t>(from),
            samples.begin() + static_cast<std::ptrdiff_t>(to), kept);
    };
    for (std::size_t frame = 0; frame < decibels.size();) {
        auto end = frame;
        while (end < decibels.size() && decibels[end] < level)
            ++end;
        if (end - frame >= kLongPauseFrames) {
            keep((frame + kKeptFrames) * kFrameSamples);
            from = (end - kKeptFrames) * kFrameSamples;
        }
        frame = end + 1;
    }
    keep(samples.size());
    samples.erase(kept, samples.end());
    return samples;
}

} // namespace tallowfern
