#include "fakes/FakeProcessLauncher.h"
#include "speech/TallowfernError.h"
#include "speech/WhisperRunner.h"
#include "support/Await.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QTemporaryDir>

#include <vector>

namespace tallowfern {

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing_support::Outcome;

namespace {

const SpeechModel kPocket = SpeechModel::catalog().at(0);
const SpeechModel kVelocity = SpeechModel::catalog().at(1);
const SpeechModel kBalanced = SpeechModel::catalog().at(3);

/// A folder with both engine programs, and one transcription at a time.
struct Bench {
    Bench()
    {
        for (const QString& name : {u"whisper-cli"_s, u"parakeet-cli"_s}) {
            QFile program(folder.filePath(name));
            EXPECT_TRUE(program.open(QIODevice::WriteOnly));
        }
    }
    Outcome<QString> transcribe(const SpeechModel& model = kPocket, const QStringList& vocabulary = {})
    {
        const WhisperRunner runner(launcher, ResourceLocator(folder.path()), 4); // ends before its transcription does
        return testing_support::start(runner.transcribe(
            u"/takes/a.wav"_s, model, u"/models/m.bin"_s, vocabulary, [this](double f) { progress.push_back(f); }));
    }
    QString failure(const Outcome<QString>& outcome)
    {
        EXPECT_TRUE(outcome.isDone());
        try {
            return u"no failure: "_s + outcome.value();
        } catch (const LocalizedError& error) {
            return error.description();
        }
    }

    QTemporaryDir folder;
    FakeProcessLauncher launcher;
    std::vector<double> progress;
};

} // namespace

TEST(WhisperRunner, GivesEachEngineItsOwnCommandLine)
{
    const QString wav = u"/takes/a.wav"_s;
    const QString bin = u"/models/m.bin"_s;
    EXPECT_EQ(engineArguments(kPocket, bin, wav, {}, 2).join(u'|'),
        u"--model|/models/m.bin|--file|/takes/a.wav|--no-timestamps|--no-prints|--print-progress|--language|en|--threads|2|--suppress-nst"_s);
    EXPECT_EQ(engineArguments(kBalanced, bin, wav, {u"Zoë"_s, u"a, b"_s}, 8).sliced(7).join(u'|'),
        u"--language|auto|--threads|8|--suppress-nst|--prompt|Zoë, a, b"_s);
    EXPECT_EQ(engineArguments(kVelocity, bin, wav, {u"Acme"_s}, 3).join(u'|'),
        u"--model|/models/m.bin|--file|/takes/a.wav|--threads|3|--no-prints"_s);

    const std::pair<int, int> threads[] = {{-1, 2}, {1, 2}, {2, 2}, {4, 2}, {5, 3}, {10, 8}, {16, 8}, {256, 8}};
    for (const auto& [processors, expected] : threads)
        EXPECT_EQ(engineThreadCount(processors), expected) << processors;
}

TEST(WhisperRunner, ReturnsTrimmedWordsInTheSpellingOfTheVocabulary)
{
    Bench bench;
    const auto outcome = bench.transcribe(kVelocity, {u"Zoë"_s});
    EXPECT_EQ(bench.launcher.requests.back().program, bench.folder.filePath(u"parakeet-cli"_s));
    for (const char byte : QByteArray("\n Ask zo\u00eb\n now.\n "))
        bench.launcher.writes(QByteArray(1, byte));
    bench.launcher.writesError("progress = 50%\n"); // this engine has no progress
    EXPECT_FALSE(outcome.isDone());
    bench.launcher.exits(0);
    EXPECT_EQ(outcome.value(), u"Ask Zoë\n now."_s);
    EXPECT_THAT(bench.progress, ElementsAre(0.02));
}

TEST(WhisperRunner, ReportsProgressWithinItsBounds)
{
    Bench bench;
    const auto outcome = bench.transcribe();
    EXPECT_THAT(bench.progress, ElementsAre(0.02)); // before anything was started or heard
    for (const char* line :
        {"reading\n", "progress = 0%\n", "progress = 5", "0%\n", "progress = 100%\n", "progress = 601%\n"})
        bench.launcher.writesError(line);
    EXPECT_THAT(bench.progress, ElementsAre(0.02, 0.02, 0.02, 0.5, 0.97, 0.97));
    bench.launcher.writes("words");
    bench.launcher.exits(0);
    EXPECT_EQ(outcome.value(), u"words"_s);
}

TEST(WhisperRunner, FailsWithASentenceForEveryEnding)
{
    const QString noSpeech = u"No speech was detected."_s;
    const QString failed = u"The local transcription failed."_s;
    const QString afterKill = u"loading stopped"_s;
    struct Case {
        QByteArray output;
        QByteArray errors;
        ProcessExit exit;
        QString sentence;
    };
    const Case cases[] = {
        {"", "", {false, 0}, noSpeech},
        {" \n\t ", "error: bad file\n", {false, 0}, noSpeech},
        {"good \xff\xfe bytes", "", {false, 0}, noSpeech},
        {"cut \xe2\x82", "", {false, 0}, noSpeech},
        {"good words", "one\n\nthree\nfour\n", {false, 1}, u"three four"_s},
        {"", "", {false, 3}, failed},
        {"", "\xff\n", {false, 3}, failed},
        {"half of the wor", "loading\nstopped\n", {true, 9}, afterKill},
        {"", "", {true, 11}, failed},
    };
    for (const Case& given : cases) {
        Bench bench;
        const auto outcome = bench.transcribe();
        if (!given.output.isEmpty())
            bench.launcher.writes(given.output);
        if (!given.errors.isEmpty())
            bench.launcher.writesError(given.errors);
        given.exit.crashed ? bench.launcher.isKilled(given.exit.status) : bench.launcher.exits(given.exit.status);
        EXPECT_EQ(bench.failure(outcome), given.sentence) << given.output.data() << given.errors.data();
    }
}

TEST(WhisperRunner, FailsWhenThereIsNothingToStart)
{
    Bench bench;
    bench.launcher.refusal = u"Permission denied"_s;
    EXPECT_EQ(bench.failure(bench.transcribe()), u"Permission denied"_s);
    EXPECT_THAT(bench.progress, ElementsAre(0.02));

    QFile::remove(bench.folder.filePath(u"whisper-cli"_s));
    EXPECT_EQ(bench.failure(bench.transcribe()), u"The bundled local speech engine is missing."_s);
    EXPECT_EQ(bench.launcher.requests.size(), 1U);
    EXPECT_THAT(bench.progress, ElementsAre(0.02));
}

TEST(WhisperRunner, GoesOnWhenTheRunnerIsGoneBeforeTheEngineHasStarted)
{
    Bench bench;
    bench.launcher.startsWhen.emplace();
    const auto outcome = bench.transcribe();
    EXPECT_FALSE(outcome.isDone());
    bench.launcher.startsWhen->complete(true);
    bench.launcher.writes("words");
    bench.launcher.exits(0);
    EXPECT_EQ(outcome.value(), u"words"_s);
}

TEST(WhisperRunner, KeepsMegabytesOfWordsAndEndsAnEngineGoneWild)
{
    Bench bench;
    const QByteArray megabyte(qsizetype{1024} * 1024, 'w');
    const auto chatty = bench.transcribe();
    for (int i = 0; i < 5; ++i) {
        bench.launcher.writes(megabyte);
        bench.launcher.writesError(megabyte);
    }
    bench.launcher.exits(0);
    EXPECT_EQ(chatty.value().size(), 5 * megabyte.size());

    const auto wild = bench.transcribe();
    for (int i = 0; i < 70 && bench.launcher.isRunning(); ++i)
        bench.launcher.writes(megabyte);
    EXPECT_FALSE(bench.launcher.isRunning());
    EXPECT_EQ(bench.failure(wild), u"The speech engine wrote more than a recording can hold."_s);
}

TEST(ResourceLocator, LooksInThePlacesInTheirOrder)
{
    QTemporaryDir folder;
    ASSERT_TRUE(QDir(folder.path()).mkpath(u"Resources"_s));
    const auto make
        = [&](const QString& name) { EXPECT_TRUE(QFile(folder.filePath(name)).open(QIODevice::WriteOnly)); };
    const ResourceLocator resources(folder.path());
    EXPECT_EQ(resources.file(u"whisper-cli"_s), std::nullopt);
    make(u"Resources/whisper-cli"_s);
    EXPECT_EQ(resources.file(u"whisper-cli"_s), folder.filePath(u"Resources/whisper-cli"_s));
    make(u"whisper-cli"_s);
    EXPECT_EQ(resources.file(u"whisper-cli"_s), folder.filePath(u"whisper-cli"_s));
    make(u"own"_s);
    qputenv("TALLOWFERN_WHISPER_CLI_PATH", folder.filePath(u"own"_s).toLocal8Bit());
    EXPECT_EQ(resources.file(u"whisper-cli"_s), folder.filePath(u"own"_s));
    qputenv("TALLOWFERN_WHISPER_CLI_PATH", "/nowhere/whisper");
    EXPECT_EQ(resources.file(u"whisper-cli"_s), std::nullopt);
    qunsetenv("TALLOWFERN_WHISPER_CLI_PATH");
}

} // namespace tallowfern
