#pragma once

#include "platform/linux/sound/PulseContext.h"

#include <QByteArray>

#include <pulse/stream.h>

#include <optional>

namespace tallowfern {

/// What hears the samples, 16 kHz mono in 16 bits.
class SampleListener {
public:
    virtual ~SampleListener() = default;
    /// On the sound thread or the main thread, always under the context's lock.
    virtual void hear(const void* samples, size_t byteCount) = 0;
};

/// One record stream, which stands ready between takes: so the first sample comes with the next period of the device,
/// and not after a negotiation. Main thread.
class PulseCaptureStream final : public QObject {
    Q_OBJECT
public:
    static constexpr int kSampleRate = 16000;

    explicit PulseCaptureStream(PulseContext& context);
    ~PulseCaptureStream() override;

    /// Stands ready on this source, anew if it stood on another; empty is the system's default.
    void prepare(const QByteArray& source);
    void drop();
    /// Where the server has put the stream; empty while it is being made, or when there is none.
    QByteArray sourceName() const;

    /// The listener hears everything from now on, in place of an earlier one. False without a stream.
    bool start(SampleListener* listener);
    /// The listener has heard everything that has arrived when this returns, and hears no more.
    void stop(SampleListener* listener);
    /// Whether a sample has come since start() or the last question.
    bool wasHeard();

Q_SIGNALS:
    /// The server has put the stream on another source, or has made it.
    void moved();
    /// The server has ended the stream.
    void failed();

private:
    // On the sound thread.
    static void onState(pa_stream* stream, void* self);
    static void onMoved(pa_stream* stream, void* self);
    static void onReadable(pa_stream* stream, size_t byteCount, void* self);

    void handOver();
    void setCorked(bool corked);
    template <class Signal>
    void tell(pa_stream* stream, Signal signal);

    PulseContext& m_context;
    std::optional<QByteArray> m_wanted; ///< the source asked for
    // Under the lock.
    pa_stream* m_stream = nullptr;
    SampleListener* m_listener = nullptr;
    bool m_wasHeard = false;
};

} // namespace tallowfern
