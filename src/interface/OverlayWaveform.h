#pragma once

#include "interface/OverlayFace.h"

#include <QList>

namespace tallowfern {

/// A row of bars, 2 wide.
struct WaveformShape {
    int count;
    double maxHeight;
    double pitch; ///< from bar to bar
};

constexpr WaveformShape waveformShape(OverlayBody body)
{
    return body == OverlayBody::Mini ? WaveformShape{15, 27, 5} : WaveformShape{19, 35, 4};
}

/// The height of each bar. `samples` are the recorder's newest levels, 0 to 1; `seconds` is the time of a clock.
QList<double> waveformBars(WaveForm wave, const WaveformShape& shape, const QList<double>& samples, double seconds);

} // namespace tallowfern
