#include "platform/linux/sound/PulseSound.h"

#include <QFile>
#include <QtEndian>

#include <pulse/proplist.h>

#include <algorithm>

namespace tallowfern {

std::optional<SoundSamples> SoundSamples::fromWavFile(const QString& path)
{
    constexpr int kRiffBytes = 12;
    constexpr int kChunkBytes = 8;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray all = file.readAll();
    SoundSamples samples;
    qsizetype place = all.startsWith("RIFF") ? kRiffBytes : all.size();
    while (place + kChunkBytes <= all.size()) {
        const QByteArrayView name(all.constData() + place, 4);
        const qsizetype size = qFromLittleEndian<quint32>(all.constData() + place + 4);
        const QByteArray content = all.mid(place + kChunkBytes, size);
        if (name == "fmt " && content.size() >= 16 && qFromLittleEndian<quint16>(content.constData() + 14) == 16) {
            samples.form.format = PA_SAMPLE_S16LE;
            samples.form.channels = static_cast<uint8_t>(qFromLittleEndian<quint16>(content.constData() + 2));
            samples.form.rate = qFromLittleEndian<quint32>(content.constData() + 4);
        } else if (name == "data") {
            samples.bytes = content;
        }
        place += kChunkBytes + size + size % 2;
    }
    if (samples.bytes.isEmpty() || !pa_sample_spec_valid(&samples.form))
        return std::nullopt;
    samples.bytes.chop(samples.bytes.size() % static_cast<qsizetype>(pa_frame_size(&samples.form)));
    return samples;
}

PulseSound::PulseSound(PulseContext& context, SoundSamples samples)
    : m_context(context)
    , m_samples(std::move(samples))
{
}

PulseSound::~PulseSound()
{
    stop();
}

void PulseSound::play(double volume)
{
    stop();
    if (!m_context.isConnected())
        return;
    // Our own volume, not the stream's: that one is the user's, and the server remembers it.
    m_scaled = m_samples.bytes;
    for (qsizetype place = 0; place + 1 < m_scaled.size(); place += 2) {
        const double sample = qFromLittleEndian<qint16>(m_scaled.constData() + place) * std::clamp(volume, 0.0, 1.0);
        qToLittleEndian<qint16>(static_cast<qint16>(sample), m_scaled.data() + place);
    }
    const PulseContext::Lock lock(m_context);
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "event");
    m_stream = pa_stream_new_with_proplist(m_context.handle(), "Signal", &m_samples.form, nullptr, properties);
    pa_proplist_free(properties);
    if (!m_stream)
        return;
    pa_stream_set_state_callback(m_stream, &PulseSound::onState, this);
    pa_stream_connect_playback(m_stream, nullptr, nullptr, PA_STREAM_NOFLAGS, nullptr, nullptr);
}

void PulseSound::stop()
{
    const PulseContext::Lock lock(m_context);
    if (!m_stream)
        return;
    if (m_drain) {
        pa_operation_cancel(m_drain); // or its answer, on the way by now, comes to an object that is gone
        pa_operation_unref(m_drain);
        m_drain = nullptr;
    }
    pa_stream_set_state_callback(m_stream, nullptr, nullptr);
    pa_stream_disconnect(m_stream);
    pa_stream_unref(m_stream);
    m_stream = nullptr;
}

void PulseSound::onState(pa_stream* stream, void* userData)
{
    auto* self = static_cast<PulseSound*>(userData);
    if (pa_stream_get_state(stream) != PA_STREAM_READY)
        return;
    const QByteArray& bytes = self->m_scaled;
    pa_stream_write(stream, bytes.constData(), static_cast<size_t>(bytes.size()), nullptr, 0, PA_SEEK_RELATIVE);
    self->m_drain = pa_stream_drain(stream, &PulseSound::onDrained, self);
}

void PulseSound::onDrained(pa_stream* stream, int, void* userData)
{
    auto* self = static_cast<PulseSound*>(userData);
    QMetaObject::invokeMethod(
        self,
        [self, stream] {
            if (self->m_stream == stream)
                self->stop();
        },
        Qt::QueuedConnection);
}

} // namespace tallowfern
