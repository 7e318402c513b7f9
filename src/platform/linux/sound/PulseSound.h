#pragma once

#include "platform/SoundPlayer.h"
#include "platform/linux/sound/PulseContext.h"

#include <QByteArray>

#include <pulse/operation.h>
#include <pulse/stream.h>

#include <optional>

namespace tallowfern {

/// Samples in 16 bits, little endian, with their form.
struct SoundSamples {
    pa_sample_spec form{};
    QByteArray bytes;

    /// Nothing for a file that cannot be read, or is of another kind.
    static std::optional<SoundSamples> fromWavFile(const QString& path);
};

/// A sound that has a stream only while it plays.
class PulseSound final : public QObject, public Sound {
    Q_OBJECT
public:
    PulseSound(PulseContext& context, SoundSamples samples);
    ~PulseSound() override;

    void play(double volume) override;

private:
    static void onState(pa_stream* stream, void* self);
    static void onDrained(pa_stream* stream, int success, void* self);

    void stop();

    PulseContext& m_context;
    SoundSamples m_samples;
    // Under the lock.
    QByteArray m_scaled;
    pa_stream* m_stream = nullptr;
    pa_operation* m_drain = nullptr;
};

} // namespace tallowfern
