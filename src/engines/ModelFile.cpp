#include "engines/ModelFile.h"

#include "engines/EngineFailure.h"

#include <array>
#include <cstring>
#include <filesystem>

namespace tallowfern {

namespace {

constexpr auto kDownloadAgain = "Delete the speech model and download it again.";
constexpr std::uint32_t kMagic = 0x67676d6c;
constexpr int kReadsForNextTensor = 3;

using Header = std::array<std::uint32_t, 12>;

bool isWhisper(const Header& header)
{
    return header[1] >= 51864 && header[1] <= 51866 && header[2] == 1500 && header[6] == 448;
}

bool isParakeet(const Header& header)
{
    const auto within = [](std::uint32_t value, std::uint32_t most) { return value >= 1 && value <= most; };
    return !isWhisper(header) && within(header[1], 1U << 20) && within(header[2], 1U << 20)
        && within(header[3], 1U << 16) && within(header[4], 1U << 10) && within(header[5], 1U << 10)
        && within(header[6], 1U << 10);
}

void checkHeader(const Header& header, Engine engine)
{
    if (header[0] != kMagic)
        throw EngineFailure("The speech model is damaged or not a model of this kind.", kDownloadAgain);
    if (engine == Engine::Whisper ? isWhisper(header) : isParakeet(header))
        return;
    if (engine == Engine::Whisper ? isParakeet(header) : isWhisper(header))
        throw EngineFailure("The speech model belongs to another speech engine.", "Choose another speech model.");
    throw EngineFailure("The speech model is damaged.", kDownloadAgain);
}

} // namespace

ModelFile::ModelFile(const std::string& path, Engine engine, Progress& progress)
    : m_progress(progress)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw EngineFailure("There is no speech model at " + path + ".", "Download the speech model again.");
    m_size = std::filesystem::file_size(path, error);
    m_file.open(path, std::ios::binary);
    if (error || !m_file)
        throw EngineFailure("The speech model cannot be read.", kDownloadAgain);
    Header header{};
    m_file.read(reinterpret_cast<char*>(header.data()), sizeof header);
    if (!m_file)
        throw EngineFailure("The speech model is empty or cut short.", kDownloadAgain);
    checkHeader(header, engine);
    m_file.seekg(0);
}

std::size_t ModelFile::read(void* target, std::size_t size)
{
    if (size == 0)
        return 0;
    if (size > m_size - m_read) {
        const bool looksForNextTensor = m_read == m_size && size == sizeof(std::int32_t);
        if (!looksForNextTensor || ++m_emptyReads > kReadsForNextTensor)
            throw EngineFailure("The speech model is cut short.", kDownloadAgain);
        std::memset(target, 0, size);
        return 0;
    }
    m_file.read(static_cast<char*>(target), static_cast<std::streamsize>(size));
    if (!m_file)
        throw EngineFailure("The speech model cannot be read.", kDownloadAgain);
    m_read += size;
    m_progress.modelRead(static_cast<double>(m_read) / static_cast<double>(m_size));
    return size;
}

void throwDamagedModel()
{
    throw EngineFailure("The speech model is damaged.", kDownloadAgain);
}

} // namespace tallowfern
