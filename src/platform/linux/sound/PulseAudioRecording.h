#pragma once

#include "platform/AudioCapture.h"
#include "platform/linux/sound/PulseCaptureStream.h"
#include "platform/linux/sound/WavFile.h"

namespace tallowfern {

class PulseAudioCapture;

/// One take. The samples go to the file where they are heard, so that no queue can lose the last of them.
class PulseAudioRecording final : public AudioRecording, private SampleListener {
    Q_OBJECT
public:
    /// `capture` outlives its takes.
    PulseAudioRecording(
        PulseAudioCapture& capture, PulseContext& context, const QString& path, const AudioSettings& settings);
    ~PulseAudioRecording() override;

    bool record() override;
    void stop() override;
    double averagePower() override;

    /// Ends the take, if it runs, and says why.
    void interrupt(const QString& reason);

private:
    void hear(const void* samples, size_t byteCount) override;

    PulseAudioCapture& m_capture;
    PulseContext& m_context;
    bool m_running = false;
    // Under the lock.
    WavFile m_file;
    bool m_writeFailed = false;
    double m_squares = 0; ///< since the last averagePower()
    qint64 m_sampleCount = 0;
};

} // namespace tallowfern
