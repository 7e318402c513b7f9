#pragma once

#include <vector>

namespace tallowfern {

/// `samples` (16 kHz) without the middle of its long pauses, those before the first and after the last word included.
/// Models give up at a pause of some seconds and leave out what is said after it. Where voice and background differ
/// little, nothing is taken away.
std::vector<float> withShortPauses(std::vector<float> samples);

} // namespace tallowfern
