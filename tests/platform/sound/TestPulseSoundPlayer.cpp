#include "platform/PrivateSession.h"
#include "platform/linux/sound/PulseAudioCapture.h"
#include "platform/linux/sound/PulseSoundPlayer.h"
#include "platform/sound/Recordings.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QString kSounds = QStringLiteral(SOUNDS_FOLDER);

/// A microphone that hears what the speakers play.
class SoundPlaying : public testing::Test {
protected:
    SoundPlaying()
    {
        m_session.startSoundServer();
        m_session.loadModule({u"module-null-sink"_s, u"sink_name=speakers"_s, u"channel_map=mono"_s});
        m_session.loadModule({u"module-remap-source"_s, u"source_name=ear"_s, u"master=speakers.monitor"_s});
        m_session.makeDefault(u"sink"_s, u"speakers"_s);
        m_session.makeDefault(u"source"_s, u"ear"_s);
    }

    bool isPlaying() const
    {
        return !m_session.output(u"pactl"_s, {u"list"_s, u"short"_s, u"sink-inputs"_s}).isEmpty();
    }

    PrivateSession m_session;
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(SoundPlaying, IsHeardAtItsVolumeAndLeavesNothingBehind)
{
    PulseContext context;
    PulseAudioCapture capture(context);
    PulseSoundPlayer player(context, kSounds);
    EXPECT_EQ(player.load(u"Nothing"_s), nullptr);
    ASSERT_TRUE(waitFor([&capture] { return capture.hasMicrophone(); }));

    const auto loudest = [&](const QString& name, double volume) {
        static int number = 0;
        const QString file = m_folder.filePath(u"%1.wav"_s.arg(++number));
        const auto recording = capture.create(file, {});
        EXPECT_TRUE(recording->record());
        const auto sound = player.load(name);
        sound->play(volume);
        EXPECT_TRUE(waitFor([this] { return isPlaying(); }));
        EXPECT_TRUE(waitFor([this] { return !isPlaying(); })) << "the stream goes with the sound";
        const qint64 size = QFileInfo(file).size();
        EXPECT_TRUE(waitFor([&file, size] { return QFileInfo(file).size() > size + 16000; }));
        recording->stop();
        return loudestOf(samplesOf(file));
    };
    // A busy server drops some of a sound, its peak too; what it has heard right once was played right.
    bool isHalf = false;
    for (int attempt = 0; attempt < 5 && !isHalf; ++attempt)
        isHalf = std::abs(loudest(u"Pop"_s, 0.5) / loudest(u"Pop"_s, 1) - 0.5) < 0.1;
    EXPECT_TRUE(isHalf);
    EXPECT_GT(loudest(u"Glass"_s, 1), 1000);
    EXPECT_GT(loudest(u"Tink"_s, 1), 1000);

    const auto sound = player.load(u"Glass"_s);
    sound->play(0.1);
    sound->play(0.1); // begins again
    player.beep();
}

TEST(SoundWithoutServer, IsSilence)
{
    const PrivateSession session;
    PulseContext context;
    PulseSoundPlayer player(context, kSounds);
    const auto sound = player.load(u"Pop"_s);
    sound->play(1);
    player.beep();
    PulseAudioCapture capture(context);
    const QTemporaryDir folder;
    EXPECT_FALSE(capture.hasMicrophone());
    EXPECT_FALSE(capture.create(folder.filePath(u"a.wav"_s), {})->record());
}

} // namespace tallowfern
