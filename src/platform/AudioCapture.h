#pragma once

#include <QObject>
#include <QString>

#include <memory>

namespace tallowfern {

/// The form of a recording: linear PCM, little endian, signed integers.
struct AudioSettings {
    int sampleRate = 16000; ///< samples per second
    int channels = 1;
    int bitDepth = 16;
};

/// One take. Destroying it ends it; the file stays.
class AudioRecording : public QObject {
    Q_OBJECT
public:
    /// Begins to record. False when the sound system refuses.
    virtual bool record() = 0;
    /// Ends the take: everything heard so far is in the file, which is complete. Harmless when ended already.
    virtual void stop() = 0;
    /// The average power since the call before, in decibels of full scale: 0 is the loudest, -160 is silence.
    virtual double averagePower() = 0;

Q_SIGNALS:
    /// The take has ended by itself; the file is complete with what was heard. `reason` is a sentence for the user:
    /// the microphone is gone, or the disk is full.
    void interrupted(const QString& reason);
};

/// The microphones of this computer. Main thread.
class AudioCapture : public QObject {
    Q_OBJECT
public:
    /// Whether there is a source that is no monitor of an output; known from events, so that asking never waits.
    virtual bool hasMicrophone() const = 0;
    /// Prepares a take of the default microphone into a WAV file, made anew and private to the user. Throws
    /// LocalizedError when the file cannot be made.
    virtual std::unique_ptr<AudioRecording> create(const QString& path, const AudioSettings& settings) = 0;

Q_SIGNALS:
    void hasMicrophoneChanged();
};

} // namespace tallowfern
