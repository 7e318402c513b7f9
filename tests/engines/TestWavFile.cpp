#include "TemporaryFile.h"
#include "engines/EngineFailure.h"
#include "engines/WavFile.h"

#include <bit>
#include <cmath>
#include <numbers>

namespace tallowfern {

namespace {

struct Format {
    std::uint32_t tag = 1;
    std::uint32_t channels = 1;
    std::uint32_t rate = 16000;
    std::uint32_t bits = 16;
};

std::string wav(std::uint32_t toldSize, const std::string& samples, Format format = {})
{
    return "RIFF" + littleEndian(36 + toldSize, 4) + "WAVEfmt " + littleEndian(16, 4) + littleEndian(format.tag, 2)
        + littleEndian(format.channels, 2) + littleEndian(format.rate, 4) + littleEndian(0, 4) + littleEndian(0, 2)
        + littleEndian(format.bits, 2) + "data" + littleEndian(toldSize, 4) + samples;
}

std::vector<float> read(const std::string& bytes)
{
    const TemporaryFile file(bytes);
    return readWavFile(file.path());
}

const std::string kFourSamples
    = littleEndian(16384, 2) + littleEndian(0, 2) + littleEndian(0xC000, 2) + littleEndian(0, 2);

TEST(WavFile, GivesWhatIsThereWhateverTheHeaderSays)
{
    const std::vector<float> all{0.5F, 0, -0.5F, 0};
    for (const std::uint32_t told : {8U, 100U, 0U, 0xFFFFFFFFU})
        EXPECT_EQ(read(wav(told, kFourSamples)), all) << told;
    EXPECT_EQ(read(wav(4, kFourSamples)).size(), 2U);
    EXPECT_EQ(read(wav(9, kFourSamples + "x")).size(), 4U) << "half a sample at the end";

    auto withOtherChunk = wav(8, kFourSamples);
    withOtherChunk.insert(12, "LIST" + littleEndian(3, 4) + "abc" + std::string(1, '\0'));
    EXPECT_EQ(read(withOtherChunk), all);
}

TEST(WavFile, MixesAndResamplesOtherFormats)
{
    EXPECT_EQ(read(wav(8, kFourSamples, {.channels = 2})), (std::vector<float>{0.25F, -0.25F}));
    EXPECT_EQ(read(wav(2, std::string("\x80\xC0"), {.bits = 8})), (std::vector<float>{0, 0.5F}));
    EXPECT_EQ(read(wav(3, littleEndian(0xC00000, 3), {.bits = 24})), (std::vector<float>{-0.5F}));
    const auto floats = littleEndian(std::bit_cast<std::uint32_t>(0.25F), 4) + littleEndian(0x7FC00000, 4);
    EXPECT_EQ(read(wav(8, floats, {.tag = 3, .bits = 32})), (std::vector<float>{0.25F, 0}))
        << "not a number is silence";

    for (const std::uint32_t rate : {8000U, 44100U, 48000U}) {
        std::string tone;
        for (std::uint32_t i = 0; i < rate; ++i)
            tone += littleEndian(
                static_cast<std::uint32_t>(static_cast<int>(16000 * std::sin(2 * std::numbers::pi * 200 * i / rate))),
                2);
        const auto samples = read(wav(2 * rate, tone, {.rate = rate}));
        ASSERT_NEAR(static_cast<double>(samples.size()), kSamplesPerSecond, 1) << rate;
        double difference = 0;
        for (std::size_t i = 0; i + 4 < samples.size(); ++i) {
            const auto expected
                = 0.488 * std::sin(2 * std::numbers::pi * 200 * static_cast<double>(i) / kSamplesPerSecond);
            difference = std::max(difference, std::abs(static_cast<double>(samples[i]) - expected));
        }
        EXPECT_LT(difference, 0.06) << rate;
    }
}

TEST(WavFile, SaysWhyARecordingCannotBeRead)
{
    const struct {
        std::string bytes;
        std::string words;
    } table[] = {
        {"", "empty"},
        {"RIFF", "damaged"},
        {std::string(5000, 'x'), "damaged"},
        {wav(8, "").substr(0, 20), "damaged"},
        {wav(8, kFourSamples).substr(0, 36), "empty"},
        {wav(0, ""), "empty"},
        {wav(1, "x"), "empty"},
        {wav(8, kFourSamples, {.channels = 0}), "format"},
        {wav(8, kFourSamples, {.rate = 0}), "format"},
        {wav(8, kFourSamples, {.bits = 12}), "format"},
        {wav(8, kFourSamples, {.tag = 85}), "format"},
    };
    for (const auto& row : table) {
        try {
            read(row.bytes);
            ADD_FAILURE() << "read " << row.bytes.size() << " bytes as " << row.words;
        } catch (const EngineFailure& failure) {
            EXPECT_NE(std::string(failure.what()).find(row.words), std::string::npos) << failure.what();
            EXPECT_FALSE(failure.whatToDo().empty());
        }
    }
    EXPECT_THROW(readWavFile("/nonexistent/recording.wav"), EngineFailure);
    EXPECT_THROW(readWavFile("/"), EngineFailure);
}

} // namespace

} // namespace tallowfern
