#include "interface/OverlayWaveform.h"

#include <algorithm>
#include <cmath>

namespace tallowfern {

namespace {

constexpr double kLeast = 1.5;
constexpr double kSilence = 0.015;

double liveLevel(int index, int count, const QList<double>& samples)
{
    if (samples.isEmpty())
        return kSilence;
    const auto first = std::max<qsizetype>(samples.size() - count, 0);
    return samples[std::min<qsizetype>(first + index, samples.size() - 1)];
}

double barHeight(WaveForm wave, int index, const WaveformShape& shape, const QList<double>& samples, double seconds)
{
    switch (wave) {
    case WaveForm::Live:
        return kLeast + (shape.maxHeight - kLeast) * liveLevel(index, shape.count, samples);
    case WaveForm::Travelling:
        return kLeast + shape.maxHeight * 0.82 * (std::sin(index * 0.66 + seconds * 2.6) + 1) * 0.5;
    case WaveForm::Peak: {
        const double fromMiddle = std::abs(index - (shape.count - 1) / 2.0);
        return std::max(kLeast, shape.maxHeight * std::max(0.12, 1 - fromMiddle / shape.count));
    }
    case WaveForm::Still:
        break;
    }
    return index % 3 == 0 ? 7 : 2.5;
}

} // namespace

QList<double> waveformBars(WaveForm wave, const WaveformShape& shape, const QList<double>& samples, double seconds)
{
    QList<double> bars;
    for (int index = 0; index < shape.count; ++index)
        bars.append(barHeight(wave, index, shape, samples, seconds));
    return bars;
}

} // namespace tallowfern
