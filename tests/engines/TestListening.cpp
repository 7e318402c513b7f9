// How the engine listens: where it cuts, how much the encoder looks at, when it does not believe itself.

#include "engines/AudioContext.h"
#include "engines/PauseShortener.h"
#include "engines/Repetition.h"
#include "engines/SilenceCutter.h"
#include "engines/WavFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace tallowfern {

namespace {

std::size_t samplesOf(double seconds)
{
    return static_cast<std::size_t>(seconds * kSamplesPerSecond);
}

/// A tone, with faint noise for 0.4 s around each pause.
std::vector<float> speech(double seconds, std::initializer_list<double> pauses)
{
    std::vector<float> samples(samplesOf(seconds));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto second = static_cast<double>(i) / kSamplesPerSecond;
        samples[i] = 0.3F * static_cast<float>(std::sin(second * 2000));
        for (const auto pause : pauses) {
            if (std::abs(second - pause) < 0.2)
                samples[i] *= 0.01F;
        }
    }
    return samples;
}

std::vector<double> cuts(const std::vector<float>& samples)
{
    std::vector<double> seconds;
    std::size_t end = 0;
    for (const auto& window : cutAtSilences(samples, 28)) {
        EXPECT_EQ(window.begin, end) << "nothing lost, nothing doubled";
        EXPECT_GT(window.end, window.begin);
        EXPECT_LE(window.end - window.begin, samplesOf(28));
        end = window.end;
        seconds.push_back(static_cast<double>(end) / kSamplesPerSecond);
    }
    EXPECT_EQ(end, samples.size());
    seconds.pop_back();
    return seconds;
}

TEST(SilenceCutter, CutsInThePauses)
{
    EXPECT_TRUE(cuts(speech(28, {10})).empty());
    for (const auto pause : {9.0, 14.5, 20.0, 27.0}) {
        const auto found = cuts(speech(30, {pause}));
        ASSERT_EQ(found.size(), 1U) << pause;
        EXPECT_NEAR(found[0], pause, 0.15);
    }
    const auto two = cuts(speech(70, {20, 44}));
    ASSERT_EQ(two.size(), 2U);
    EXPECT_NEAR(two[0], 20, 0.15);
    EXPECT_NEAR(two[1], 44, 0.15);
}

TEST(SilenceCutter, CutsSpeechWithoutPausesAndSilenceAsWell)
{
    EXPECT_GE(cuts(speech(200, {})).size(), 7U);
    EXPECT_LE(cuts(std::vector<float>(samplesOf(200))).size(), 12U);
    cuts(std::vector<float>(samplesOf(28) + 1));
}

TEST(SilenceCutter, KnowsWhenNobodyCanBeHeard)
{
    EXPECT_TRUE(isSilent({}));
    EXPECT_TRUE(isSilent(std::vector<float>(samplesOf(0.09), 0.5F)));
    EXPECT_TRUE(isSilent(std::vector<float>(samplesOf(5), 1.0F / 32768)));
    EXPECT_FALSE(isSilent(std::vector<float>(samplesOf(5), 0.001F))) << "a quiet microphone";
}

/// `seconds` of tone (or background) of the amplitude `volume`.
void add(std::vector<float>& samples, double seconds, float volume)
{
    for (std::size_t i = 0; i < samplesOf(seconds); ++i)
        samples.push_back(volume * static_cast<float>(std::sin(static_cast<double>(i) * 0.3)));
}

TEST(PauseShortener, TakesOutLongPausesAndNoWord)
{
    struct Row {
        const char* what;
        float background;
        double before, between, after, seconds;
    };
    for (const auto& row : {Row{"a short pause stays", 0, 0, 0.9, 0, 4.9}, Row{"silence", 0, 5, 10, 15, 4 + 3 * 0.5},
             Row{"a noisy room", 0.01F, 5, 10, 15, 4 + 3 * 0.5},
             Row{"a room as loud as the voice", 0.1F, 5, 3, 0, 12}}) {
        std::vector<float> samples;
        add(samples, row.before, row.background);
        add(samples, 2, 0.3F);
        add(samples, row.between, row.background);
        add(samples, 1, 0.3F);
        add(samples, 1, 0.06F); // turned away from the microphone
        add(samples, row.after, row.background);
        const auto loud = [](const std::vector<float>& all, float volume) {
            return std::count_if(all.begin(), all.end(), [&](float sample) { return std::abs(sample) > volume; });
        };
        const auto shorter = withShortPauses(samples);
        EXPECT_NEAR(static_cast<double>(shorter.size()) / kSamplesPerSecond, row.seconds, 0.4) << row.what;
        EXPECT_EQ(loud(shorter, 0.03F), loud(samples, 0.03F)) << row.what;
    }
    for (const double seconds : {0.0, 0.5, 20.0}) {
        const std::vector<float> silence(samplesOf(seconds));
        EXPECT_EQ(withShortPauses(silence), silence);
    }
}

TEST(AudioContext, FitsShortWindowsAndKeepsOffTheLengthsThatLoseWords)
{
    for (double seconds = 0.1; seconds <= 8; seconds += 0.02) {
        const int positions = fittedAudioContext(samplesOf(seconds), 1500);
        ASSERT_GE(positions, seconds * 50 + 128) << seconds;
        ASSERT_LE(positions, 736) << seconds;
        ASSERT_EQ(positions % 256, 224) << seconds;
    }
    EXPECT_EQ(fittedAudioContext(samplesOf(5), 1500), 480);
    EXPECT_EQ(fittedAudioContext(samplesOf(8) + 1, 1500), 0);
    EXPECT_EQ(fittedAudioContext(samplesOf(28), 1500), 0);
    EXPECT_EQ(fittedAudioContext(samplesOf(5), 400), 0) << "a model that has less";
}

TEST(Repetition, IsSuspectedWhereADecoderMayHaveLostItsPlace)
{
    for (const auto* text :
        {"the the the the", "Thanks in advance. Thanks in advance.", "I said so, I said so, I said so.",
            "Well, a b a b", "And then we go home and we eat. And then we go home and we eat."})
        EXPECT_TRUE(repeatsItself(text)) << text;
    for (const auto* text : {"", "no", "No, no, no.", "very, very good", "one two one three one four one five",
             "the cat and the dog and the bird and the fish", "again, and again"})
        EXPECT_FALSE(repeatsItself(text)) << text;
}

} // namespace

} // namespace tallowfern
