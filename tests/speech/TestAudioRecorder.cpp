#include "fakes/FakeAudioCapture.h"
#include "fakes/VirtualClock.h"
#include "speech/AudioRecorder.h"
#include "speech/TallowfernError.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cmath>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QList<double> kRest(20, 0.025);

struct Room {
    QStringList files() const { return QDir(paths.temporaryRecordings()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir folder;
    AppPaths paths{folder.path()};
    VirtualClock clock;
    FakeAudioCapture capture;
    AudioRecorder recorder{capture, paths, clock};
};

} // namespace

TEST(AudioRecorder, MeterFollowsItsCurve)
{
    const std::pair<double, double> cases[]
        = {{-160, 0.015}, {-INFINITY, 0.015}, {-55, 0.015}, {-31, std::pow(0.5, 1.55)}, {-7, 1}, {0, 1}, {20, 1}};
    for (const auto& [decibels, level] : cases)
        EXPECT_DOUBLE_EQ(meterLevel(decibels), level) << decibels;
}

TEST(AudioRecorder, OneTakeFromStartToStop)
{
    Room room;
    const QString path = room.recorder.start();
    EXPECT_EQ(QFileInfo(path).path(), room.paths.temporaryRecordings());
    EXPECT_TRUE(QRegularExpression(u"^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.wav$"_s)
                    .match(QFileInfo(path).fileName())
                    .hasMatch());
    EXPECT_EQ(room.capture.settings.sampleRate, 16000);
    EXPECT_EQ(room.recorder.level(), 0.025);

    room.capture.power = -7;
    room.clock.advance(0.05);
    EXPECT_EQ(room.recorder.samples(), kRest);
    room.clock.advance(0.06);
    EXPECT_EQ(room.recorder.level(), 1);
    EXPECT_EQ(room.recorder.samples().size(), 20);
    EXPECT_EQ(room.recorder.samples().last(), 1);
    EXPECT_EQ(room.recorder.samples().first(), 0.025);

    room.clock.jumpWall(-3600); // the calendar is none of its business
    room.clock.advance(2.9);
    const auto samples = room.recorder.samples();
    const auto finished = room.recorder.stop();
    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->path, path);
    EXPECT_NEAR(finished->duration, 3.01, 1e-9);
    EXPECT_TRUE(QFileInfo::exists(path));
    EXPECT_FALSE(room.capture.isRecording());
    EXPECT_EQ(room.recorder.level(), 0);

    room.clock.advance(1); // no tick is left
    EXPECT_EQ(room.recorder.samples(), samples);
    EXPECT_FALSE(room.recorder.stop());
}

TEST(AudioRecorder, CancelLeavesNoTrace)
{
    Room room;
    room.recorder.cancel(); // nothing runs: harmless
    const QString path = room.recorder.start();
    room.capture.power = 0;
    room.clock.advance(1);
    room.recorder.cancel();
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_FALSE(room.capture.isRecording());
    EXPECT_EQ(room.recorder.level(), 0);
    EXPECT_EQ(room.recorder.samples(), kRest);
    EXPECT_FALSE(room.recorder.stop());

    room.recorder.start();
    room.recorder.stop();
    room.recorder.cancel(); // also takes back a take that was stopped
    EXPECT_TRUE(room.files().isEmpty());
}

TEST(AudioRecorder, RefusedStartSaysWhyAndChangesNothing)
{
    Room room;
    const auto failure = [&] {
        try {
            return u"started "_s + room.recorder.start();
        } catch (const LocalizedError& error) {
            return error.description();
        }
    };
    room.capture.refusesToRecord = true;
    EXPECT_EQ(failure(), u"Tallowfern could not access the microphone."_s);
    room.capture.createFailure = u"No space left on device"_s;
    EXPECT_EQ(failure(), u"No space left on device"_s);
    EXPECT_TRUE(room.files().isEmpty());
    EXPECT_EQ(room.recorder.level(), 0);
    EXPECT_FALSE(room.recorder.stop());

    QFile inTheWay(room.folder.filePath(u"file"_s));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    AudioRecorder homeless(room.capture, AppPaths(inTheWay.fileName()), room.clock);
    EXPECT_THROW(homeless.start(), LocalizedError);
}

TEST(AudioRecorder, SecondStartTakesOverAndLeavesTheFirstFile)
{
    Room room;
    const QString first = room.recorder.start();
    room.clock.advance(2);
    const QString second = room.recorder.start();
    room.clock.advance(1);
    const auto finished = room.recorder.stop();
    EXPECT_EQ(finished->path, second);
    EXPECT_NEAR(finished->duration, 1, 1e-9);
    EXPECT_EQ(room.files().size(), 2);

    const QString folder = room.paths.temporaryRecordings();
    QDir(folder).mkpath(u"left/behind"_s);
    QFile::link(room.folder.path(), folder + u"/link"_s);
    AudioRecorder::cleanupTemporaryRecordings(room.paths);
    EXPECT_TRUE(QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot));
    EXPECT_TRUE(QFileInfo::exists(folder)); // a link is removed, what it points to is not
    AudioRecorder::cleanupTemporaryRecordings(AppPaths(u"/nowhere"_s));
}

TEST(AudioRecorder, VanishedMicrophoneGivesWhatWasHeard)
{
    Room room;
    QStringList reasons;
    std::optional<AudioRecorder::FinishedRecording> finished;
    QObject::connect(&room.recorder, &AudioRecorder::interrupted, &room.recorder, [&](const QString& reason) {
        reasons.append(reason);
        finished = room.recorder.stop(); // ends the take that told of it
    });
    const QString path = room.recorder.start();
    room.clock.advance(1.5);
    room.capture.setMicrophone(false, u"The microphone was unplugged."_s);
    room.clock.settle();
    EXPECT_EQ(reasons, QStringList{u"The microphone was unplugged."_s});
    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->path, path);

    room.capture.setMicrophone(true);
    room.recorder.start();
    room.capture.setMicrophone(false);
    room.recorder.cancel(); // the user was faster
    room.clock.settle();
    EXPECT_EQ(reasons.size(), 1);
}

TEST(AudioRecorder, MayEndWhileItsLevelIsLookedAt)
{
    QTemporaryDir folder;
    VirtualClock clock;
    FakeAudioCapture capture;
    auto recorder = std::make_unique<AudioRecorder>(capture, AppPaths(folder.path()), clock);
    recorder->start();
    QObject::connect(
        recorder.get(), &AudioRecorder::levelChanged, &capture, [&] { recorder->stop(); }, Qt::SingleShotConnection);
    clock.advance(1);
    EXPECT_FALSE(capture.isRecording());
    recorder->start();
    recorder.reset();
    EXPECT_FALSE(capture.isRecording());
    clock.advance(1);
}

} // namespace tallowfern
