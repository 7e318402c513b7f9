#include "speech/AudioRecorder.h"

#include "speech/TallowfernError.h"

#include <QDir>
#include <QFile>
#include <QUuid>

#include <algorithm>
#include <cmath>

namespace tallowfern {

namespace {

constexpr int kSampleCount = 20;
constexpr double kRestLevel = 0.025;
constexpr double kMeterInterval = 0.1; // seconds

} // namespace

double meterLevel(double decibels)
{
    const double loudness = std::clamp((decibels + 55) / 48, 0.0, 1.0);
    return std::clamp(std::pow(loudness, 1.55), 0.015, 1.0);
}

AudioRecorder::AudioRecorder(AudioCapture& capture, AppPaths paths, Clock& clock)
    : m_capture(capture)
    , m_paths(std::move(paths))
    , m_clock(clock)
    , m_samples(kSampleCount, kRestLevel)
{
}

QString AudioRecorder::start()
{
    m_paths.prepare();
    const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + QStringLiteral(".wav");
    QString path = m_paths.temporaryRecordings() + u'/' + name;
    auto recording = m_capture.create(path, AudioSettings{});
    if (!recording->record()) {
        recording.reset();
        QFile::remove(path);
        throw TallowfernError(TallowfernError::Cause::RecorderUnavailable);
    }
    m_interruption.cancel(); // one of the take before
    // Handed on a turn later, since the receiver ends the take, which must not vanish within its own signal.
    connect(recording.get(), &AudioRecording::interrupted, this, [this](const QString& reason) {
        m_interruption.restart([&](std::stop_token stop) { passOnInterruption(reason, std::move(stop)); });
    });
    m_recording = std::move(recording);
    m_startedAt = m_clock.now();
    m_outputPath = path;
    m_meter.restart([this](std::stop_token stop) { meter(std::move(stop)); });
    setLevel(kRestLevel);
    resetSamples();
    return path;
}

double AudioRecorder::elapsed() const
{
    return m_recording ? std::max(0.0, m_clock.now() - m_startedAt) : 0;
}

std::optional<AudioRecorder::FinishedRecording> AudioRecorder::stop()
{
    if (!m_recording || !m_outputPath)
        return std::nullopt;
    const FinishedRecording finished{*m_outputPath, elapsed()};
    endRecording();
    setLevel(0);
    return finished;
}

void AudioRecorder::cancel()
{
    endRecording();
    if (m_outputPath)
        QFile::remove(*m_outputPath);
    m_outputPath.reset();
    setLevel(0);
    resetSamples();
}

void AudioRecorder::endRecording()
{
    m_meter.cancel();
    m_interruption.cancel();
    if (m_recording)
        m_recording->stop();
    m_recording.reset();
}

void AudioRecorder::cleanupTemporaryRecordings(const AppPaths& paths)
{
    const QDir folder(paths.temporaryRecordings());
    const auto entries = folder.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir() && !entry.isSymLink())
            QDir(entry.filePath()).removeRecursively();
        else
            QFile::remove(entry.filePath());
    }
}

QCoro::Task<> AudioRecorder::meter(std::stop_token stop)
{
    Clock& clock = m_clock; // whoever looks at the level may end the recorder
    while (true) {
        co_await clock.sleep(kMeterInterval, stop);
        if (stop.stop_requested())
            co_return;
        updateLevel();
    }
}

QCoro::Task<> AudioRecorder::passOnInterruption(QString reason, std::stop_token stop)
{
    co_await m_clock.sleep(0, stop);
    if (stop.stop_requested())
        co_return;
    Q_EMIT interrupted(reason);
}

void AudioRecorder::updateLevel()
{
    const double level = meterLevel(m_recording->averagePower());
    m_samples.append(level);
    m_samples.remove(0, std::max<qsizetype>(0, m_samples.size() - kSampleCount));
    m_level = level;
    Q_EMIT samplesChanged();
    Q_EMIT levelChanged();
}

void AudioRecorder::setLevel(double level)
{
    m_level = level;
    Q_EMIT levelChanged();
}

void AudioRecorder::resetSamples()
{
    m_samples = QList<double>(kSampleCount, kRestLevel);
    Q_EMIT samplesChanged();
}

} // namespace tallowfern
