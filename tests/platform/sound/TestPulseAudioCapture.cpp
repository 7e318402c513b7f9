#include "foundation/LocalizedError.h"
#include "platform/PrivateSession.h"
#include "platform/linux/sound/PulseAudioCapture.h"
#include "platform/sound/Recordings.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

class Capture : public testing::Test {
protected:
    Capture()
    {
        m_session.startSoundServer();
        m_microphone = m_session.addMicrophone();
        m_context = std::make_unique<PulseContext>();
        m_capture = std::make_unique<PulseAudioCapture>(*m_context);
        EXPECT_TRUE(waitForMicrophone(true));
    }

    bool waitForMicrophone(bool there)
    {
        return waitFor([this, there] { return m_capture->hasMicrophone() == there; });
    }
    QString path(int number = 1) const { return m_folder.filePath(u"%1.wav"_s.arg(number)); }
    std::unique_ptr<AudioRecording> take(int number = 1) { return m_capture->create(path(number), {}); }
    bool waitForSamples(qsizetype count, int number = 1)
    {
        const QString file = path(number);
        return waitFor([file, count] { return QFileInfo(file).size() >= 44 + 2 * count; });
    }
    static std::shared_ptr<QStringList> interruptionsOf(AudioRecording& recording)
    {
        const auto reasons = std::make_shared<QStringList>();
        QObject::connect(&recording, &AudioRecording::interrupted, &recording,
            [reasons](const QString& reason) { reasons->append(reason); });
        return reasons;
    }
    bool play(const QString& file) { return m_session.succeeds(u"paplay"_s, {u"-d"_s, u"vmic_in"_s, file}); }

    PrivateSession m_session;
    QTemporaryDir m_folder;
    QString m_microphone;
    std::unique_ptr<PulseContext> m_context;
    std::unique_ptr<PulseAudioCapture> m_capture;
};

const QString kSample = QStringLiteral(SAMPLES_FOLDER "/01.wav");

} // namespace

TEST_F(Capture, HearsARecordingWholeAndAtItsLoudness)
{
    const auto recording = take();
    ASSERT_TRUE(recording->record());
    ASSERT_TRUE(waitForSamples(1600));
    EXPECT_EQ(recording->averagePower(), -160);
    ASSERT_TRUE(play(kSample));
    const double power = recording->averagePower();
    EXPECT_GT(power, -40);
    EXPECT_LT(power, -5);
    ASSERT_TRUE(waitForSamples(QFileInfo(path()).size() / 2 + 8000));
    recording->stop();
    recording->stop();

    const QList<qint16> played = samplesOf(kSample);
    const QList<qint16> heard = samplesOf(path());
    EXPECT_NEAR(audibleSeconds(heard), audibleSeconds(played), 0.05);
    EXPECT_NEAR(energyOf(heard) / energyOf(played), 1, 0.1);
    EXPECT_EQ(QFileInfo(path()).permissions() & QFile::Permissions(0x077), QFile::Permissions());
}

TEST_F(Capture, EveryTakeBeginsAtOnce)
{
    for (int number = 1; number <= 5; ++number) {
        const auto recording = take(number);
        QElapsedTimer timer;
        timer.start();
        ASSERT_TRUE(recording->record());
        ASSERT_TRUE(waitForSamples(1, number));
        std::printf("first sample after %lld ms\n", static_cast<long long>(timer.elapsed()));
        ASSERT_TRUE(waitForSamples(16000, number));
        std::printf("a second of sound after %lld ms\n", static_cast<long long>(timer.elapsed()));
        if (number == 3)
            continue; // destroyed while it runs, which ends it too
        recording->stop();
    }
    EXPECT_GE(samplesOf(path(3)).size(), 16000);
}

TEST_F(Capture, ASecondTakeReplacesTheFirst)
{
    const auto first = take(1);
    const auto second = take(2);
    ASSERT_TRUE(first->record());
    ASSERT_TRUE(waitForSamples(1600, 1));
    ASSERT_TRUE(second->record());
    first->stop();
    EXPECT_TRUE(waitForSamples(1600, 2));
    second->stop();
    EXPECT_GE(samplesOf(path(1)).size(), 1600);
    EXPECT_GE(samplesOf(path(2)).size(), 1600);
    EXPECT_THROW(static_cast<void>(take(2)), LocalizedError) << "a recording is never overwritten";
}

TEST_F(Capture, AMicrophoneUnpluggedEndsTheTakeAndKeepsIt)
{
    const auto recording = take();
    const auto interrupted = interruptionsOf(*recording);
    int changes = 0;
    QObject::connect(m_capture.get(), &AudioCapture::hasMicrophoneChanged, [&changes] { ++changes; });
    ASSERT_TRUE(recording->record());
    ASSERT_TRUE(waitForSamples(1600));
    ASSERT_TRUE(m_session.succeeds(u"pactl"_s, {u"unload-module"_s, m_microphone}));
    ASSERT_TRUE(waitFor([&interrupted] { return !interrupted->isEmpty(); }));
    ASSERT_TRUE(waitForMicrophone(false));
    EXPECT_GE(samplesOf(path()).size(), 1600);
    EXPECT_EQ(samplesOf(path()).size() * 2 + 44, QFileInfo(path()).size());
    EXPECT_FALSE(take(2)->record()) << "what is left is the monitor of an output";

    m_session.addMicrophone();
    ASSERT_TRUE(waitForMicrophone(true));
    const auto next = take(3);
    ASSERT_TRUE(next->record());
    EXPECT_TRUE(waitForSamples(1600, 3));
    EXPECT_EQ(interrupted->size(), 1);
    EXPECT_EQ(changes, 2);
}

TEST_F(Capture, AnotherMicrophoneTakesOver)
{
    const auto recording = take();
    const auto interrupted = interruptionsOf(*recording);
    ASSERT_TRUE(recording->record());
    ASSERT_TRUE(waitForSamples(1600));
    m_session.loadModule({u"module-null-sink"_s, u"sink_name=other_in"_s, u"channel_map=mono"_s});
    m_session.loadModule({u"module-remap-source"_s, u"source_name=other"_s, u"master=other_in.monitor"_s});
    ASSERT_TRUE(m_session.succeeds(u"pactl"_s, {u"set-default-source"_s, u"other"_s}));
    ASSERT_TRUE(m_session.succeeds(u"pactl"_s, {u"unload-module"_s, m_microphone}));
    ASSERT_TRUE(waitForSamples(QFileInfo(path()).size() / 2 + 8000));
    ASSERT_TRUE(m_session.succeeds(u"paplay"_s, {u"-d"_s, u"other_in"_s, kSample}));
    ASSERT_TRUE(waitForSamples(QFileInfo(path()).size() / 2 + 8000));
    recording->stop();
    EXPECT_EQ(interrupted->size(), 0);
    EXPECT_GT(energyOf(samplesOf(path())), 0.9 * energyOf(samplesOf(kSample)));
}

TEST_F(Capture, AServerThatDiesEndsTheTakeAndIsFoundAgain)
{
    for (int number = 1; number <= 2; ++number) {
        const auto recording = take(number);
        const auto interrupted = interruptionsOf(*recording);
        ASSERT_TRUE(recording->record());
        ASSERT_TRUE(waitForSamples(1600, number));
        m_session.stopPulseServer();
        ASSERT_TRUE(waitFor([&interrupted] { return !interrupted->isEmpty(); }));
        ASSERT_TRUE(waitForMicrophone(false));
        EXPECT_GE(samplesOf(path(number)).size(), 1600);
        EXPECT_FALSE(take(10 + number)->record());
        m_session.startPulseServer();
        m_microphone = m_session.addMicrophone();
        ASSERT_TRUE(waitForMicrophone(true));
        EXPECT_EQ(interrupted->size(), 1);
    }
}

TEST_F(Capture, AFullDiskEndsTheTakeAndKeepsIt)
{
    constexpr rlim_t kRoom = 44 + 20001; // in mid-sample
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto recording = take();
    const auto interrupted = interruptionsOf(*recording);
    ASSERT_TRUE(recording->record());
    const rlimit full{kRoom, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &full);
    const bool ended = waitFor([&interrupted] { return !interrupted->isEmpty(); });
    ::setrlimit(RLIMIT_FSIZE, &before);
    ASSERT_TRUE(ended);
    EXPECT_TRUE(interrupted->first().contains(u"File too large"_s));
    EXPECT_EQ(samplesOf(path()).size(), 10000);
    const auto next = take(2);
    ASSERT_TRUE(next->record());
    EXPECT_TRUE(waitForSamples(16000, 2));
}

} // namespace tallowfern
