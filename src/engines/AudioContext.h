#pragma once

#include <cstddef>

namespace tallowfern {

/// How many positions of 20 ms the whisper encoder should work on for a window of `samples`, of the `full` ones that it
/// has. The encoder's time is proportional to it, and a window is padded with silence to 30 s otherwise. 0 means all.
int fittedAudioContext(std::size_t samples, int full);

} // namespace tallowfern
