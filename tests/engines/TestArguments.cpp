#include "engines/Arguments.h"
#include "engines/EngineFailure.h"

#include <gtest/gtest.h>

namespace tallowfern {

namespace {

using Words = std::vector<std::string>;

TEST(Arguments, AreThoseOfTheApplication)
{
    const auto whisper = whisperArguments({"--model", "m", "--file", "-f", "--no-timestamps", "--no-prints",
        "--print-progress", "--language", "auto", "--threads", "1000", "--suppress-nst", "--prompt", "--help"});
    EXPECT_EQ(whisper.modelPath, "m");
    EXPECT_EQ(whisper.recordingPath, "-f");
    EXPECT_EQ(whisper.language, "auto");
    EXPECT_EQ(whisper.prompt, "--help") << "a value may look like a flag";
    EXPECT_TRUE(whisper.printsProgress);
    EXPECT_TRUE(whisper.suppressesNonSpeech);
    EXPECT_GE(whisper.threads, 1);
    EXPECT_LT(whisper.threads, 1000) << "more than the processors wait for each other";

    const auto parakeet = parakeetArguments({"--model", "m", "--file", "f", "--threads", "1", "--no-prints"});
    EXPECT_EQ(parakeet.threads, 1);
}

TEST(Arguments, RefuseWhatTheyDoNotKnow)
{
    const Words table[] = {
        {},
        {"--model", "m"},
        {"--file", "f"},
        {"--model", "m", "--file"},
        {"--model", "m", "--file", "f", "--loud"},
        {"--model", "m", "--file", "f", ""},
        {"--model", "m", "--file", "f", "--threads", "0"},
        {"--model", "m", "--file", "f", "--threads", "two"},
        {"--model", "m", "--file", "f", "--threads", "2x"},
        {"--model", "m", "--file", "f", "--threads", "99999999999"},
    };
    for (const auto& words : table) {
        EXPECT_THROW(whisperArguments(words), EngineFailure) << testing::PrintToString(words);
        EXPECT_THROW(parakeetArguments(words), EngineFailure) << testing::PrintToString(words);
    }
    for (const auto* flag : {"--language", "--prompt", "--print-progress", "--suppress-nst", "--no-timestamps"})
        EXPECT_THROW(parakeetArguments({"--model", "m", "--file", "f", flag, "en"}), EngineFailure) << flag;
}

} // namespace

} // namespace tallowfern
