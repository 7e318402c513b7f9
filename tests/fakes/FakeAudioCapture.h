#pragma once

#include "foundation/LocalizedError.h"
#include "platform/AudioCapture.h"

#include <QFile>
#include <QPointer>

#include <optional>

namespace tallowfern {

/// A microphone that the test speaks into: the file of a take is there from the start, and complete once it has ended.
class FakeAudioCapture final : public AudioCapture {
public:
    bool refusesToRecord = false;
    std::optional<QString> createFailure; ///< the sentence when the file cannot be made
    double power = -160; ///< decibels, what the microphone hears
    int takes = 0; ///< how many were begun
    AudioSettings settings; ///< of the newest take

    bool hasMicrophone() const override { return m_hasMicrophone; }
    std::unique_ptr<AudioRecording> create(const QString& path, const AudioSettings& wanted) override
    {
        if (createFailure)
            throw SystemError(*createFailure);
        settings = wanted;
        auto take = std::make_unique<Take>(*this, path);
        m_newest = take.get();
        return take;
    }

    /// A take runs: it was begun, and has not ended.
    bool isRecording() const { return m_newest && m_newest->isRunning(); }
    /// Plugs the microphone in or out. A running take ends by itself when it goes.
    void setMicrophone(bool there, const QString& reason = QStringLiteral("The microphone is gone."))
    {
        m_hasMicrophone = there;
        Q_EMIT hasMicrophoneChanged();
        if (!there)
            interrupt(reason);
    }
    void interrupt(const QString& reason)
    {
        if (!isRecording())
            return;
        m_newest->stop();
        Q_EMIT m_newest->interrupted(reason);
    }

private:
    class Take final : public AudioRecording {
    public:
        Take(FakeAudioCapture& capture, const QString& path)
            : m_capture(capture)
            , m_file(path)
        {
            if (!m_file.open(QIODevice::WriteOnly))
                throw SystemError(m_file.errorString());
            m_file.write("RIFF");
            m_file.flush();
        }
        ~Take() override { stop(); }

        bool isRunning() const { return m_running; }
        bool record() override
        {
            if (m_capture.refusesToRecord || !m_capture.hasMicrophone())
                return false;
            ++m_capture.takes;
            m_running = true;
            return true;
        }
        void stop() override
        {
            if (m_running)
                m_file.write(" complete");
            m_file.close();
            m_running = false;
        }
        double averagePower() override { return m_capture.power; }

    private:
        FakeAudioCapture& m_capture;
        QFile m_file;
        bool m_running = false;
    };

    QPointer<Take> m_newest;
    bool m_hasMicrophone = true;
};

} // namespace tallowfern
