#include "EncoderContext.h"

#include <algorithm>
#include <cmath>

namespace tallowfern::engines {

int fittedEncoderContext(double seconds)
{
    constexpr double kLongestFitted = 10;
    constexpr int kUnitsPerSecond = 50;
    constexpr int kMargin = 128; // 2.5 s of silence after the words: with less the decoder loses its end
    constexpr int kStep = 64;
    constexpr int kOffset = 32; // keeps off the multiples of 256, at which small models lose every word
    constexpr int kLeast = 416;
    if (seconds > kLongestFitted)
        return 0;
    const int needed = static_cast<int>(std::ceil(seconds * kUnitsPerSecond)) + kMargin;
    return std::max(kLeast, (needed + kStep - 1) / kStep * kStep + kOffset);
}

} // namespace tallowfern::engines
