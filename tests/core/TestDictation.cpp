#include "DictationDesk.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using Case = CaptureStatus::Case;

TEST(Dictation, WordsStandAtTheCursorAndTheClipboardComesBack)
{
    DictationDesk d;
    d.toggle();
    EXPECT_EQ(d.state(), Case::Recording);
    EXPECT_TRUE(d.cancelIsHeld());
    EXPECT_TRUE(d.app->overlay.isPresented());
    EXPECT_EQ(d.app->overlay.targetApplicationName(), u"Editor"_s);
    d.desk.clock.advance(2);
    d.toggle();
    EXPECT_EQ(d.state(), Case::Processing);
    EXPECT_FALSE(d.cancelIsHeld());
    EXPECT_EQ(d.recordings().size(), 1);
    d.engineSays(" Hello there. \n");
    d.desk.clock.advance(0.1);
    EXPECT_EQ(d.state(), Case::Processing); // the target still has to read
    EXPECT_TRUE(d.recordings().isEmpty());
    d.desk.clock.advance(0.13);
    EXPECT_EQ(d.state(), Case::Success);
    EXPECT_EQ(d.message(), u"Hello there."_s);
    EXPECT_EQ(d.inEditor(), u"Hello there."_s);
    EXPECT_EQ(d.sounds.played, QStringList{u"Glass 0.55"_s});
    ASSERT_EQ(d.app->history.items().size(), 1);
    const HistoryItem& item = d.app->history.items().first();
    EXPECT_EQ(item.text, u"Hello there."_s);
    EXPECT_DOUBLE_EQ(item.duration, 2);
    EXPECT_EQ(item.modelID, u"pocket"_s);
    d.desk.clock.advance(1.26);
    EXPECT_EQ(d.state(), Case::Idle);
    EXPECT_FALSE(d.app->overlay.isPresented());
    EXPECT_EQ(d.app->overlay.transcriptionProgress(), 0);
    EXPECT_EQ(d.desk.clipboard.text(), u"Hello there."_s);
    d.desk.clock.advance(2);
    EXPECT_EQ(d.desk.clipboard.text(), u"mine"_s);
    EXPECT_EQ(d.app->dictation.lastTranscript(), u"Hello there."_s);
}

TEST(Dictation, TwoInARowKeepTheUsersOwnClipboard)
{
    DictationDesk d;
    d.dictate("first");
    d.desk.clock.advance(0.5);
    d.dictate("second");
    EXPECT_EQ(d.inEditor(), u"firstsecond"_s);
    d.desk.clock.advance(4);
    EXPECT_EQ(d.desk.clipboard.text(), u"mine"_s);
}

TEST(Dictation, TogglesAreDroppedUntilTheWordsAreDelivered)
{
    DictationDesk d;
    d.toggle();
    d.toggle();
    d.toggle(); // while the engine works
    EXPECT_EQ(d.state(), Case::Processing);
    d.engineSays("words");
    d.desk.clock.advance(0.1);
    d.toggle(); // within the waits of the paste
    EXPECT_EQ(d.state(), Case::Processing);
    d.desk.clock.advance(0.2);
    EXPECT_EQ(d.state(), Case::Success);
    EXPECT_EQ(d.microphone.takes, 1);
}

TEST(Dictation, NewTakeDuringTheOldResultIsNotHiddenByTheOldTimer)
{
    DictationDesk d;
    d.dictate("words");
    d.desk.clock.advance(1);
    d.toggle();
    d.desk.clock.advance(10);
    EXPECT_EQ(d.state(), Case::Recording);
    EXPECT_TRUE(d.app->overlay.isPresented());
}

TEST(Dictation, CancelLeavesNoTrace)
{
    DictationDesk d;
    d.toggle();
    d.desk.clock.advance(1);
    d.cancel();
    EXPECT_EQ(d.state(), Case::Idle);
    EXPECT_FALSE(d.app->overlay.isPresented());
    EXPECT_FALSE(d.cancelIsHeld());
    EXPECT_TRUE(d.recordings().isEmpty());
    EXPECT_TRUE(d.app->history.items().isEmpty());
    EXPECT_EQ(d.desk.clipboard.text(), u"mine"_s);
    EXPECT_TRUE(d.sounds.played.isEmpty());
    d.toggle();
    d.toggle();
    d.app->dictation.cancelRecording(); // too late
    EXPECT_EQ(d.state(), Case::Processing);
}

TEST(PushToTalk, LastsAsLongAsTheKeyIsHeld)
{
    DictationDesk d;
    const auto key = d.app->preferences.pushToTalkShortcut();
    d.press(key);
    EXPECT_EQ(d.state(), Case::Recording);
    d.desk.clock.advance(1);
    d.release(key);
    EXPECT_EQ(d.state(), Case::Processing);
}

TEST(PushToTalk, LateReleaseStopsNothing)
{
    for (const char* way : {"toggle", "cancel"}) {
        DictationDesk d;
        const auto key = d.app->preferences.pushToTalkShortcut();
        d.press(key);
        if (way == std::string("toggle")) {
            d.toggle();
            d.engineSays("words");
            d.desk.clock.advance(1);
        } else {
            d.cancel();
        }
        d.toggle(); // another take, by the other key
        EXPECT_EQ(d.state(), Case::Recording) << way;
        d.release(key);
        EXPECT_EQ(d.state(), Case::Recording) << way;
    }
}

TEST(PushToTalk, DoesNotDisturbATakeBegunByToggle)
{
    DictationDesk d;
    const auto key = d.app->preferences.pushToTalkShortcut();
    d.toggle();
    d.tap(key);
    EXPECT_EQ(d.state(), Case::Recording);
    EXPECT_EQ(d.microphone.takes, 1);
}

TEST(PushToTalk, RefusedStartDoesNothingOnRelease)
{
    DictationDesk d;
    d.microphone.setMicrophone(false);
    const auto key = d.app->preferences.pushToTalkShortcut();
    d.press(key);
    EXPECT_EQ(d.state(), Case::Error);
    d.microphone.setMicrophone(true);
    d.release(key);
    EXPECT_EQ(d.state(), Case::Error);
    d.press(key);
    EXPECT_EQ(d.state(), Case::Recording);
}

struct StartFailure {
    const char* name;
    std::function<void(DictationDesk&)> arrange;
    const char* message;
    const char* resolution;
    const char* destination;
    double seconds;
};

TEST(Dictation, StartsThatFailSayWhyAndWhereToMendIt)
{
    const StartFailure cases[] = {
        {"no microphone", [](DictationDesk& d) { d.microphone.setMicrophone(false); }, "Microphone access is required.",
            "Microphone access is required.", "permissions", 6},
        {"no chords", [](DictationDesk& d) { d.desk.keys.canPostChords = false; },
            "Accessibility access is required for automatic paste.",
            "Accessibility access is required for automatic paste.", "permissions", 6},
        {"neither",
            [](DictationDesk& d) {
                d.microphone.setMicrophone(false);
                d.desk.keys.canPostChords = false;
            },
            "Microphone and Accessibility access are required.", "Microphone and Accessibility access are required.",
            "permissions", 6},
        {"unknown model", [](DictationDesk& d) { d.app->preferences.setSelectedModelID(u"nothing"_s); },
            "Choose a downloaded model.", "Choose or download a Dictation model.", "dictationModels", 2.2},
        {"model file gone", [](DictationDesk& d) { d.app->models.deleteModel(SpeechModel::catalog().first()); },
            "Choose a downloaded model.", "Choose or download a Dictation model.", "dictationModels", 2.2},
        {"refused", [](DictationDesk& d) { d.microphone.refusesToRecord = true; },
            "Tallowfern could not access the microphone.", "Tallowfern could not access the microphone.", "permissions",
            2.2},
        {"disk full", [](DictationDesk& d) { d.microphone.createFailure = u"No space left on device"_s; },
            "No space left on device", "No space left on device", "permissions", 2.2},
    };
    for (const StartFailure& c : cases) {
        SCOPED_TRACE(c.name);
        DictationDesk d;
        c.arrange(d);
        d.toggle();
        EXPECT_EQ(d.state(), Case::Error);
        EXPECT_EQ(d.message(), QString::fromLatin1(c.message));
        ASSERT_TRUE(d.app->errors.errorResolution());
        EXPECT_EQ(d.app->errors.errorResolution()->message, QString::fromLatin1(c.resolution));
        EXPECT_EQ(d.destination(), QString::fromLatin1(c.destination));
        EXPECT_TRUE(d.app->overlay.isPresented());
        EXPECT_FALSE(d.cancelIsHeld());
        d.desk.clock.advance(c.seconds - 0.01);
        EXPECT_EQ(d.state(), Case::Error);
        d.desk.clock.advance(0.02);
        EXPECT_EQ(d.state(), Case::Idle);
        EXPECT_FALSE(d.app->overlay.isPresented());
        EXPECT_EQ(
            d.app->navigation.selectedSection() == AppSection::Models, c.destination == std::string("dictationModels"));
    }
}

TEST(Dictation, WithoutAutomaticPasteTheWordsWaitOnTheClipboard)
{
    DictationDesk d;
    d.app->preferences.setAutomaticPaste(false);
    d.desk.keys.canPostChords = false; // not needed then
    d.dictate("words");
    EXPECT_EQ(d.state(), Case::Success);
    EXPECT_EQ(d.inEditor(), QString());
    d.desk.clock.advance(10);
    EXPECT_EQ(d.desk.clipboard.text(), u"words"_s);
}

struct EngineFailure {
    const char* name;
    std::function<void(DictationDesk&)> act;
    const char* message;
};

TEST(Dictation, EngineFailuresAreToldAndTheNextTakeWorks)
{
    const EngineFailure cases[] = {
        {"silence", [](DictationDesk& d) { d.engineSays(" \n "); }, "No speech was detected."},
        {"no utf-8", [](DictationDesk& d) { d.engineSays("\xff\xfe words"); }, "No speech was detected."},
        {"status and lines",
            [](DictationDesk& d) {
                d.engine.writesError("one\n\ntwo\nthree\n");
                d.engineSays("words that do not count", 1);
            },
            "two three"},
        {"status alone", [](DictationDesk& d) { d.engineSays("", 3); }, "The local transcription failed."},
        {"killed", [](DictationDesk& d) { d.engine.isKilled(9); }, "The local transcription failed."},
    };
    for (const EngineFailure& c : cases) {
        SCOPED_TRACE(c.name);
        DictationDesk d;
        d.toggle();
        d.toggle();
        d.desk.clock.advance(60); // it may take its time
        EXPECT_EQ(d.state(), Case::Processing);
        c.act(d);
        EXPECT_EQ(d.state(), Case::Error);
        EXPECT_EQ(d.message(), QString::fromLatin1(c.message));
        EXPECT_EQ(d.destination(), u"dictationModels"_s);
        EXPECT_EQ(d.app->overlay.transcriptionProgress(), 0);
        EXPECT_TRUE(d.recordings().isEmpty());
        EXPECT_TRUE(d.app->history.items().isEmpty());
        EXPECT_EQ(d.desk.clipboard.text(), u"mine"_s);
        EXPECT_TRUE(d.sounds.played.isEmpty());
        d.desk.clock.advance(2.81);
        EXPECT_EQ(d.state(), Case::Idle);
        d.dictate("next");
        EXPECT_EQ(d.inEditor(), u"next"_s);
    }
}

TEST(Dictation, EngineThatIsMissingOrCannotStartIsTold)
{
    DictationDesk d;
    QFile::remove(d.folder.filePath(u"lib/whisper-cli"_s));
    d.toggle();
    d.toggle();
    EXPECT_EQ(d.message(), u"The bundled local speech engine is missing."_s);
    DictationDesk other;
    other.engine.refusal = u"Exec format error"_s;
    other.toggle();
    other.toggle();
    EXPECT_EQ(other.message(), u"Exec format error"_s);
    EXPECT_EQ(other.destination(), u"dictationModels"_s);
}

TEST(Dictation, MicrophoneThatGoesEndsTheTakeLikeTheSecondPress)
{
    DictationDesk d;
    d.toggle();
    d.desk.clock.advance(1);
    d.microphone.setMicrophone(false, u"The microphone is gone."_s);
    d.desk.clock.settle();
    EXPECT_EQ(d.state(), Case::Processing);
    d.engineSays("half a sentence");
    d.desk.clock.advance(0.3);
    EXPECT_EQ(d.state(), Case::Success);
    EXPECT_EQ(d.inEditor(), u"half a sentence"_s);
    EXPECT_EQ(d.app->dictation.notice(), u"The microphone is gone."_s);

    DictationDesk empty;
    empty.toggle();
    empty.microphone.setMicrophone(false, u"The microphone is gone."_s);
    empty.desk.clock.settle();
    empty.engineSays("");
    EXPECT_EQ(empty.message(), u"The microphone is gone."_s);
    EXPECT_EQ(empty.destination(), u"permissions"_s);
}

TEST(Dictation, WordsGoWhereTheyBeganOrNowhere)
{
    DictationDesk d;
    d.toggle();
    const auto other = d.desk.windows.open(u"Other"_s);
    d.toggle();
    d.engineSays("words");
    d.desk.clock.advance(1);
    EXPECT_EQ(d.inEditor(), u"words"_s);
    EXPECT_EQ(d.desk.windows.textIn(other), QString());

    struct Loss {
        const char* name;
        std::function<void(DictationDesk&)> act;
    };
    const Loss losses[] = {
        {"closed", [](DictationDesk& l) { l.desk.windows.close(l.editor); }},
        {"does not come",
            [](DictationDesk& l) {
                l.desk.windows.open(u"Other"_s);
                l.desk.windows.refusesActivation = true;
            }},
        {"another pushes itself in front before the chord",
            [](DictationDesk& l) { l.desk.after(0.05, [&l] { l.desk.windows.open(u"Other"_s); }); }},
    };
    for (const Loss& loss : losses) {
        SCOPED_TRACE(loss.name);
        DictationDesk l;
        l.toggle();
        l.toggle();
        loss.act(l);
        l.engineSays("words");
        l.desk.clock.advance(0.7);
        EXPECT_EQ(l.state(), Case::Success);
        EXPECT_TRUE(l.desk.keys.pastes.isEmpty());
        l.desk.clock.advance(10);
        EXPECT_EQ(l.desk.clipboard.text(), u"words"_s);
        EXPECT_EQ(l.app->history.items().size(), 1);
    }
}

TEST(Dictation, CopiesByOthersDuringTheDeliveryAreNeverLostNorPasted)
{
    // At each step: while the engine works, while the target settles, after it has read, before the restore. (Between
    // chord and reading the target pastes whatever is there: no desktop lets us help that.)
    for (const double when : {0.001, 0.05, 0.2, 0.6, 2.0}) {
        SCOPED_TRACE(when);
        DictationDesk d;
        d.toggle();
        d.toggle();
        d.desk.after(when, [&d] { d.desk.clipboard.userCopies(u"newer"_s); });
        d.engineSays("words");
        d.desk.clock.advance(10);
        EXPECT_EQ(d.inEditor(), u"words"_s);
        EXPECT_EQ(d.desk.clipboard.text(), u"newer"_s);
    }
}

TEST(Dictation, ClipboardOwnerThatHangsCostsNothingWhileTheEngineWorks)
{
    DictationDesk d;
    d.desk.clipboard.userCopies({{{u"text/plain"_s, "slow"}}}, {u"text/plain"_s});
    d.toggle();
    d.toggle();
    d.desk.clock.advance(3);
    d.engineSays("words");
    d.desk.clock.advance(0.24);
    EXPECT_EQ(d.state(), Case::Success);
    EXPECT_EQ(d.inEditor(), u"words"_s);
    d.desk.clock.advance(10);
    EXPECT_EQ(d.desk.clipboard.text(), u"words"_s); // nothing was read, so nothing is put back
}

TEST(Dictation, ProgressNeverMovesBackNorShowsTheEndTooEarly)
{
    DictationDesk d;
    d.toggle();
    d.toggle();
    EXPECT_DOUBLE_EQ(d.app->overlay.transcriptionProgress(), 0.03);
    double before = 0;
    for (const char* line : {"progress = 50%\n", "progress = 20%\n", "progress = 100%\n", "progress = 601%\n"}) {
        d.engine.writesError(line);
        d.desk.clock.advance(0.18);
        EXPECT_GE(d.app->overlay.transcriptionProgress(), before);
        EXPECT_LT(d.app->overlay.transcriptionProgress(), 1);
        before = d.app->overlay.transcriptionProgress();
    }
    d.desk.clock.advance(60);
    EXPECT_NEAR(d.app->overlay.transcriptionProgress(), 0.984, 1e-9);
}

TEST(Dictation, ProgressEstimateFollowsThePaceOfTheEngine)
{
    struct Row {
        double current;
        SpeechEngine engine;
        double next;
    };
    const Row rows[] = {
        {0, SpeechEngine::Parakeet, 0.0738},
        {0, SpeechEngine::Whisper, 0.03444},
        {0.88, SpeechEngine::Parakeet, 0.892},
        {0.88, SpeechEngine::Whisper, 0.886},
        {0.9, SpeechEngine::Parakeet, 0.90084},
        {0.97, SpeechEngine::Whisper, 0.9705},
        {0.9838, SpeechEngine::Whisper, 0.984},
        {1, SpeechEngine::Parakeet, 0.984},
    };
    for (const Row& row : rows)
        EXPECT_NEAR(TranscriptionProgressEstimator::tick(row.current, row.engine), row.next, 1e-9) << row.current;
}

TEST(Dictation, JumpingCalendarChangesNoWait)
{
    DictationDesk d;
    d.toggle();
    d.desk.clock.advance(2);
    d.desk.clock.jumpWall(-86400);
    d.toggle();
    d.engineSays("words");
    d.desk.clock.advance(0.3);
    d.desk.clock.jumpWall(3 * 86400);
    EXPECT_DOUBLE_EQ(d.app->history.items().first().duration, 2);
    d.desk.clock.advance(1);
    EXPECT_EQ(d.state(), Case::Success);
    d.desk.clock.advance(5);
    EXPECT_EQ(d.desk.clipboard.text(), u"mine"_s);
}

TEST(Dictation, EndOfTheApplicationAtAnyMomentIsOrderly)
{
    // The address sanitizer watches what the sleeping coroutines touch.
    for (int moment = 0; moment < 5; ++moment) {
        DictationDesk d;
        d.toggle();
        if (moment > 0)
            d.toggle();
        if (moment > 1)
            d.engineSays("words");
        if (moment > 2)
            d.desk.clock.advance(0.1);
        if (moment > 3) {
            d.desk.clock.advance(0.5);
            d.app->prepareToQuit();
            EXPECT_EQ(d.desk.clipboard.text(), u"mine"_s);
        }
        d.app.reset();
        d.desk.clock.advance(10);
    }
}

TEST(CompletionSounds, FollowTheSettings)
{
    DictationDesk d;
    d.app->preferences.setCompletionSound(CompletionSound::SoftPop);
    d.app->sounds.playCompletionSound();
    d.app->preferences.setCompletionSound(CompletionSound::GentleTap);
    d.app->sounds.playCompletionSound();
    EXPECT_EQ(d.sounds.played, (QStringList{u"Pop 0.55"_s, u"Tink 0.55"_s}));
    EXPECT_EQ(d.sounds.playing, 1);
    d.app->preferences.setCompletionSoundEnabled(false);
    EXPECT_EQ(d.sounds.playing, 0);
    d.app->sounds.playCompletionSound();
    EXPECT_EQ(d.sounds.played.size(), 2);
    d.app->preferences.setCompletionSoundEnabled(true);
    d.sounds.hasSounds = false;
    d.app->sounds.playCompletionSound();
    EXPECT_EQ(d.sounds.beeps, 1);
}

TEST(Shortcuts, TakenDefaultGetsSuperAndStaysSo)
{
    DictationDesk d;
    d.app.reset();
    d.preferences.values.clear();
    const KeyChord taken = DefaultShortcuts::toggle().chord();
    d.desk.hotKeys.heldByOthers = {taken};
    d.start();
    EXPECT_TRUE(d.app->preferences.toggleShortcut().command);
    EXPECT_FALSE(d.app->preferences.pushToTalkShortcut().command);
    d.toggle();
    EXPECT_EQ(d.state(), Case::Recording);
    d.app.reset();
    d.desk.hotKeys.heldByOthers.clear();
    d.start();
    EXPECT_TRUE(d.app->preferences.toggleShortcut().command); // where the fingers learned it
}

TEST(Shortcuts, ChosenShortcutIsNeverReplacedAndItsStateIsTold)
{
    DictationDesk d;
    KeyboardShortcutSetting chosen = DefaultShortcuts::toggle();
    chosen.shift = true;
    d.desk.hotKeys.heldByOthers = {chosen.chord()};
    d.app->preferences.setToggleShortcut(chosen);
    d.app.reset();
    d.start();
    EXPECT_EQ(d.app->preferences.toggleShortcut(), chosen);
    const auto states = d.app->hotKeys.states();
    ASSERT_EQ(states.size(), 3);
    EXPECT_FALSE(states[0].active);
    EXPECT_TRUE(states[1].active);
}

TEST(Shortcuts, ChangeDuringATakeKeepsCancelAndSuspensionFreesEverything)
{
    DictationDesk d;
    d.toggle();
    KeyboardShortcutSetting other = DefaultShortcuts::toggle();
    other.shift = true;
    d.app->preferences.setToggleShortcut(other);
    EXPECT_TRUE(d.cancelIsHeld());
    d.app->shortcuts.setHotKeysSuspended(true);
    EXPECT_TRUE(d.desk.hotKeys.numbers().isEmpty());
    d.app->preferences.setToggleShortcut(DefaultShortcuts::toggle());
    EXPECT_TRUE(d.desk.hotKeys.numbers().isEmpty());
    d.app->shortcuts.setHotKeysSuspended(false);
    EXPECT_EQ(d.desk.hotKeys.numbers(), (QList<quint32>{1, 2, 3, 4}));
}

} // namespace
} // namespace tallowfern
