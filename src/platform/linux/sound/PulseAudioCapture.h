#pragma once

#include "platform/AudioCapture.h"
#include "platform/linux/sound/PulseCaptureStream.h"
#include "platform/linux/sound/PulseSources.h"

#include <QPointer>
#include <QTimer>

namespace tallowfern {

class PulseAudioRecording;

/// Records from the system's default microphone through the PulseAudio protocol, which PipeWire speaks too. A take
/// that loses its microphone ends; it never goes on with what an output plays.
class PulseAudioCapture final : public AudioCapture {
    Q_OBJECT
public:
    explicit PulseAudioCapture(PulseContext& context);

    bool hasMicrophone() const override { return m_hasMicrophone; }
    /// Only the settings' defaults: the stream that stands ready has this one form.
    std::unique_ptr<AudioRecording> create(const QString& path, const AudioSettings& settings) override;

    // For the take.
    bool begin(PulseAudioRecording* take, SampleListener* listener);
    void end(PulseAudioRecording* take, SampleListener* listener);

private:
    void follow();
    void interruptTake();
    void mendSilentStream();

    PulseContext& m_context;
    PulseSources m_sources;
    PulseCaptureStream m_stream;
    QPointer<PulseAudioRecording> m_take;
    SampleListener* m_listener = nullptr; ///< of the take
    QTimer m_watch; ///< runs until a take has its first sample
    bool m_hasMicrophone = false;
};

} // namespace tallowfern
