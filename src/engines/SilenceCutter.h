#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace tallowfern {

/// A stretch of samples, `end` not included.
struct Window {
    std::size_t begin;
    std::size_t end;

    std::span<const float> of(std::span<const float> samples) const { return samples.subspan(begin, end - begin); }
};

/// The windows of at most `longestSeconds`, without gap or overlap, in which an engine hears `samples` (16 kHz). They
/// are cut where it is quietest, so that no word lies on a border.
std::vector<Window> cutAtSilences(const std::vector<float>& samples, double longestSeconds);

/// Whether nobody can be heard: shorter than a tenth of a second, or never louder than the noise of a converter.
bool isSilent(const std::vector<float>& samples);

} // namespace tallowfern
