#pragma once

#include "foundation/Clock.h"
#include "foundation/TaskSlot.h"
#include "platform/AudioCapture.h"
#include "system/AppPaths.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace tallowfern {

/// What the meter shows for an average power in decibels of full scale: 0.015 for silence, 1 from -7 dB on.
double meterLevel(double decibels);

/// Records the microphone, one take at a time, into the form that the speech engines read, and tells how loud it is.
/// Does not ask whether it may. Main thread.
class AudioRecorder : public QObject {
    Q_OBJECT
    Q_PROPERTY(double level READ level NOTIFY levelChanged)
    Q_PROPERTY(QList<double> samples READ samples NOTIFY samplesChanged)
public:
    struct FinishedRecording {
        QString path;
        double duration = 0; ///< seconds, never below 0
    };

    AudioRecorder(AudioCapture& capture, AppPaths paths, Clock& clock);

    /// From 0.015 to 1 while recording, 0 otherwise.
    double level() const { return m_level; }
    /// The newest 20 levels, the oldest first; they stay after stop().
    const QList<double>& samples() const { return m_samples; }
    /// Seconds since the running take began; 0 when none runs.
    double elapsed() const;

    /// Begins a take and gives the path of its file. A take that runs is ended and its file left for the clean-up.
    /// Throws LocalizedError; then nothing has changed.
    QString start();
    /// Ends the take and keeps its file. Nothing when none runs.
    std::optional<FinishedRecording> stop();
    /// Ends the take and deletes its file. After stop() it still deletes that take's file.
    void cancel();

    /// Deletes the takes that an earlier run of the application left behind. Failures are passed over.
    static void cleanupTemporaryRecordings(const AppPaths& paths);

Q_SIGNALS:
    void levelChanged();
    void samplesChanged();
    /// The take has ended by itself, for a `reason` that the user can read; stop() still gives what was heard.
    void interrupted(const QString& reason);

private:
    QCoro::Task<> meter(std::stop_token stop);
    QCoro::Task<> passOnInterruption(QString reason, std::stop_token stop);
    void updateLevel();
    void endRecording();
    void setLevel(double level);
    void resetSamples();

    AudioCapture& m_capture;
    AppPaths m_paths;
    Clock& m_clock;
    double m_level = 0;
    QList<double> m_samples;
    std::unique_ptr<AudioRecording> m_recording;
    double m_startedAt = 0;
    std::optional<QString> m_outputPath;
    TaskSlot m_meter;
    TaskSlot m_interruption;
};

} // namespace tallowfern
