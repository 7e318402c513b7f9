#include "TemporaryFile.h"
#include "engines/EngineFailure.h"
#include "engines/ModelFile.h"

#include <array>

namespace tallowfern {

namespace {

std::string header(std::initializer_list<std::uint32_t> numbers)
{
    std::string bytes = littleEndian(0x67676d6c, 4);
    for (const auto number : numbers)
        bytes += littleEndian(number, 4);
    return bytes + std::string(100, '\1');
}

const auto kWhisper = header({51865, 1500, 384, 6, 4, 448});
const auto kEnglishWhisper = header({51864, 1500, 224, 7, 4, 448});
const auto kParakeet = header({8192, 5000, 1024, 8, 24, 128});
const auto kTinyParakeet = header({10, 3200, 8, 2, 1, 16});

/// The first words of the refusal, or "accepted".
std::string openAs(Engine engine, const std::string& bytes)
{
    const TemporaryFile file(bytes);
    Progress progress(nullptr);
    try {
        const ModelFile model(file.path(), engine, progress);
        return "accepted";
    } catch (const EngineFailure& failure) {
        return failure.what();
    }
}

TEST(ModelFile, TellsTheEnginesModelsApart)
{
    for (const auto& whisper : {kWhisper, kEnglishWhisper}) {
        EXPECT_EQ(openAs(Engine::Whisper, whisper), "accepted");
        EXPECT_EQ(openAs(Engine::Parakeet, whisper), "The speech model belongs to another speech engine.");
    }
    for (const auto& parakeet : {kParakeet, kTinyParakeet}) {
        EXPECT_EQ(openAs(Engine::Parakeet, parakeet), "accepted");
        EXPECT_EQ(openAs(Engine::Whisper, parakeet), "The speech model belongs to another speech engine.");
    }
    const auto random = header({0xFFFFFFFF, 0x12345678, 0, 0, 0, 0});
    for (const auto& bytes : {std::string(), std::string("lmgg"), kWhisper.substr(0, 47),
             "<html>" + std::string(100, ' '), "GGUF" + std::string(100, '\1'), random}) {
        EXPECT_NE(openAs(Engine::Whisper, bytes), "accepted") << bytes.substr(0, 6);
        EXPECT_NE(openAs(Engine::Parakeet, bytes), "accepted") << bytes.substr(0, 6);
    }
}

TEST(ModelFile, NoticesThatItsEndIsMissing)
{
    const TemporaryFile file(kWhisper);
    std::array<char, 200> target{};
    Progress progress(nullptr);

    ModelFile whole(file.path(), Engine::Whisper, progress);
    EXPECT_EQ(whole.read(target.data(), kWhisper.size()), kWhisper.size());
    EXPECT_FALSE(whole.isAtEnd());
    for (int i = 0; i < 3; ++i) // the libraries read a tensor's three numbers before they ask for the end
        EXPECT_EQ(whole.read(target.data(), 4), 0U);
    EXPECT_TRUE(whole.isAtEnd());
    EXPECT_THROW(whole.read(target.data(), 4), EngineFailure);

    ModelFile cut(file.path(), Engine::Whisper, progress);
    cut.read(target.data(), 50);
    EXPECT_THROW(cut.read(target.data(), 200), EngineFailure);
}

} // namespace

} // namespace tallowfern
