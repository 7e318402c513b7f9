#include "platform/linux/sound/PulseAudioCapture.h"

#include "foundation/Words.h"
#include "platform/linux/sound/PulseAudioRecording.h"

#include <utility>

namespace tallowfern {

PulseAudioCapture::PulseAudioCapture(PulseContext& context)
    : m_context(context)
    , m_sources(context)
    , m_stream(context)
{
    connect(&m_sources, &PulseSources::changed, this, &PulseAudioCapture::follow);
    connect(&m_stream, &PulseCaptureStream::moved, this, &PulseAudioCapture::follow);
    connect(&m_stream, &PulseCaptureStream::failed, this, [this] {
        interruptTake();
        m_stream.drop(); // made again by the next take, or when the sources change
    });
    constexpr int kPatience = 1000; // milliseconds; samples come every 20
    m_watch.setInterval(kPatience);
    connect(&m_watch, &QTimer::timeout, this, &PulseAudioCapture::mendSilentStream);
}

std::unique_ptr<AudioRecording> PulseAudioCapture::create(const QString& path, const AudioSettings& settings)
{
    Q_ASSERT(
        settings.sampleRate == PulseCaptureStream::kSampleRate && settings.channels == 1 && settings.bitDepth == 16);
    return std::make_unique<PulseAudioRecording>(*this, m_context, path, settings);
}

bool PulseAudioCapture::begin(PulseAudioRecording* take, SampleListener* listener)
{
    const auto microphone = m_sources.microphone();
    if (!microphone)
        return false;
    if (!m_take)
        m_stream.prepare(*microphone);
    if (!m_stream.start(listener))
        return false;
    m_take = take;
    m_listener = listener;
    m_watch.start();
    return true;
}

/// A sound server sometimes leaves a stream without its source, at its start or when the source changes. Silence would
/// still come as samples; a new stream gets a source.
void PulseAudioCapture::mendSilentStream()
{
    const auto microphone = m_sources.microphone();
    if (!m_take || !microphone || m_stream.wasHeard())
        return;
    m_stream.drop();
    m_stream.prepare(*microphone);
    m_stream.start(m_listener);
}

void PulseAudioCapture::end(PulseAudioRecording* take, SampleListener* listener)
{
    m_stream.stop(listener);
    if (m_take != take)
        return;
    m_take = nullptr;
    m_watch.stop();
    follow();
}

/// Brings the stream to where the sources are now. A take that runs keeps its stream, or ends with the last microphone.
void PulseAudioCapture::follow()
{
    const auto microphone = m_sources.microphone();
    if (m_take && !microphone) {
        interruptTake(); // comes back here by end()
        return;
    }
    const QByteArray source = m_stream.sourceName();
    if (m_take && !source.isEmpty() && m_sources.isMonitor(source))
        m_stream.drop(); // the server has put it on an output; the watch asks for the microphone that is left
    if (!microphone)
        m_stream.drop();
    else if (!m_take)
        m_stream.prepare(*microphone);
    if (std::exchange(m_hasMicrophone, microphone.has_value()) != microphone.has_value())
        Q_EMIT hasMicrophoneChanged();
}

void PulseAudioCapture::interruptTake()
{
    if (m_take)
        m_take->interrupt(words("The microphone is no longer available."));
}

} // namespace tallowfern
