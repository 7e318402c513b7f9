#include "platform/linux/sound/PulseCaptureStream.h"

#include <pulse/operation.h>

#include <utility>

namespace tallowfern {

namespace {

constexpr pa_sample_spec kForm{PA_SAMPLE_S16LE, PulseCaptureStream::kSampleRate, 1};
constexpr uint32_t kPieceBytes = 640; // 20 ms

} // namespace

PulseCaptureStream::PulseCaptureStream(PulseContext& context)
    : m_context(context)
{
}

PulseCaptureStream::~PulseCaptureStream()
{
    drop();
}

void PulseCaptureStream::prepare(const QByteArray& source)
{
    if (m_stream && m_wanted == source)
        return;
    drop();
    const PulseContext::Lock lock(m_context);
    m_stream = pa_stream_new(m_context.handle(), "Dictation", &kForm, nullptr);
    if (!m_stream)
        return;
    m_wanted = source;
    pa_stream_set_state_callback(m_stream, &PulseCaptureStream::onState, this);
    pa_stream_set_moved_callback(m_stream, &PulseCaptureStream::onMoved, this);
    pa_stream_set_read_callback(m_stream, &PulseCaptureStream::onReadable, this);
    const uint32_t any = UINT32_MAX;
    const pa_buffer_attr attributes{any, any, any, any, kPieceBytes};
    // No timing updates: they would wake us up also between takes.
    const auto flags = pa_stream_flags_t(PA_STREAM_ADJUST_LATENCY | PA_STREAM_START_CORKED);
    pa_stream_connect_record(m_stream, source.isEmpty() ? nullptr : source.constData(), &attributes, flags);
}

void PulseCaptureStream::drop()
{
    const PulseContext::Lock lock(m_context);
    m_wanted.reset();
    m_listener = nullptr;
    m_wasHeard = false;
    if (!m_stream)
        return;
    pa_stream_set_state_callback(m_stream, nullptr, nullptr);
    pa_stream_set_moved_callback(m_stream, nullptr, nullptr);
    pa_stream_set_read_callback(m_stream, nullptr, nullptr);
    pa_stream_disconnect(m_stream);
    pa_stream_unref(m_stream);
    m_stream = nullptr;
}

QByteArray PulseCaptureStream::sourceName() const
{
    const PulseContext::Lock lock(m_context);
    if (!m_stream || pa_stream_get_state(m_stream) != PA_STREAM_READY)
        return {};
    return QByteArray(pa_stream_get_device_name(m_stream));
}

bool PulseCaptureStream::start(SampleListener* listener)
{
    const PulseContext::Lock lock(m_context);
    if (!m_stream || !PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream)))
        return false;
    handOver(); // what is left of an earlier take belongs to nobody, or to the listener that is replaced
    m_listener = listener;
    m_wasHeard = false;
    setCorked(false);
    return true;
}

bool PulseCaptureStream::wasHeard()
{
    const PulseContext::Lock lock(m_context);
    return std::exchange(m_wasHeard, false);
}

void PulseCaptureStream::stop(SampleListener* listener)
{
    const PulseContext::Lock lock(m_context);
    if (m_listener != listener)
        return;
    handOver();
    m_listener = nullptr;
    setCorked(true);
}

void PulseCaptureStream::setCorked(bool corked)
{
    if (!m_stream || pa_stream_get_state(m_stream) != PA_STREAM_READY)
        return;
    if (pa_operation* operation = pa_stream_cork(m_stream, corked ? 1 : 0, nullptr, nullptr))
        pa_operation_unref(operation);
}

void PulseCaptureStream::handOver()
{
    const void* samples = nullptr;
    size_t size = 0;
    while (m_stream && pa_stream_get_state(m_stream) == PA_STREAM_READY && pa_stream_readable_size(m_stream) > 0
        && pa_stream_peek(m_stream, &samples, &size) == 0 && size > 0) {
        if (samples && m_listener) { // no samples with a size are a hole
            m_wasHeard = true;
            m_listener->hear(samples, size);
        }
        pa_stream_drop(m_stream);
    }
}

void PulseCaptureStream::onReadable(pa_stream*, size_t, void* self)
{
    static_cast<PulseCaptureStream*>(self)->handOver();
}

void PulseCaptureStream::onState(pa_stream* stream, void* userData)
{
    auto* self = static_cast<PulseCaptureStream*>(userData);
    const pa_stream_state_t state = pa_stream_get_state(stream);
    if (state == PA_STREAM_READY) {
        if (self->m_listener)
            self->setCorked(false); // a take began while the stream was being made
        self->tell(stream, &PulseCaptureStream::moved);
    } else if (!PA_STREAM_IS_GOOD(state)) {
        self->tell(stream, &PulseCaptureStream::failed);
    }
}

void PulseCaptureStream::onMoved(pa_stream* stream, void* userData)
{
    auto* self = static_cast<PulseCaptureStream*>(userData);
    self->tell(stream, &PulseCaptureStream::moved);
}

/// A late word about a stream that is not ours any more says nothing.
template <class Signal>
void PulseCaptureStream::tell(pa_stream* stream, Signal signal)
{
    QMetaObject::invokeMethod(
        this,
        [this, stream, signal] {
            if (stream == m_stream)
                Q_EMIT(this->*signal)();
        },
        Qt::QueuedConnection);
}

} // namespace tallowfern
