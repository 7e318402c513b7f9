#include "platform/linux/sound/PulseAudioRecording.h"

#include "foundation/Words.h"
#include "platform/linux/sound/PulseAudioCapture.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tallowfern {

namespace {

constexpr double kSilence = -160;
constexpr double kFullScale = 32768;

} // namespace

PulseAudioRecording::PulseAudioRecording(
    PulseAudioCapture& capture, PulseContext& context, const QString& path, const AudioSettings& settings)
    : m_capture(capture)
    , m_context(context)
    , m_file(path, settings)
{
}

PulseAudioRecording::~PulseAudioRecording()
{
    stop();
}

bool PulseAudioRecording::record()
{
    m_running = m_capture.begin(this, this);
    return m_running;
}

void PulseAudioRecording::stop()
{
    if (!std::exchange(m_running, false))
        return;
    m_capture.end(this, this);
    m_file.close();
}

void PulseAudioRecording::interrupt(const QString& reason)
{
    if (!m_running)
        return;
    stop();
    Q_EMIT interrupted(reason);
}

double PulseAudioRecording::averagePower()
{
    const PulseContext::Lock lock(m_context);
    const double squares = std::exchange(m_squares, 0);
    const qint64 count = std::exchange(m_sampleCount, 0);
    if (squares == 0)
        return kSilence;
    const double mean = std::sqrt(squares / static_cast<double>(count)) / kFullScale;
    return std::max(20 * std::log10(mean), kSilence);
}

void PulseAudioRecording::hear(const void* samples, size_t byteCount)
{
    if (m_writeFailed)
        return;
    const auto* first = static_cast<const qint16*>(samples);
    const auto count = static_cast<qint64>(byteCount / sizeof(qint16));
    m_sampleCount += count;
    for (const qint16* sample = first; sample != first + count; ++sample)
        m_squares += double(*sample) * *sample;
    const auto failure = m_file.append({static_cast<const char*>(samples), static_cast<qsizetype>(byteCount)});
    if (!failure)
        return;
    m_writeFailed = true;
    QMetaObject::invokeMethod(
        this, [this, reason = *failure] { interrupt(words("The recording could not be saved: %1").arg(reason)); },
        Qt::QueuedConnection);
}

} // namespace tallowfern
