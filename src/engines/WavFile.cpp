#include "engines/WavFile.h"

#include "engines/EngineFailure.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>

namespace tallowfern {

namespace {

constexpr auto kRecordAgain = "Record again.";
constexpr std::uint16_t kIntegerFormat = 1;
constexpr std::uint16_t kFloatFormat = 3;
constexpr std::uint16_t kExtensibleFormat = 0xFFFE;

using Bytes = std::span<const unsigned char>;

struct Sound {
    std::uint16_t format = 0;
    std::uint16_t channels = 0;
    std::uint32_t rate = 0;
    std::uint16_t bits = 0;
    Bytes samples;
};

std::uint32_t littleEndian(Bytes bytes, std::size_t at, int count)
{
    std::uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i)
        value = value << 8 | bytes[at + static_cast<std::size_t>(i)];
    return value;
}

bool reads(Bytes bytes, std::size_t at, const char* tag)
{
    return at + 4 <= bytes.size() && std::memcmp(bytes.data() + at, tag, 4) == 0;
}

std::vector<unsigned char> readAll(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw EngineFailure("There is no recording at " + path + ".", kRecordAgain);
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::vector<unsigned char> bytes(file ? static_cast<std::size_t>(file.tellg()) : 0);
    file.seekg(0);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file)
        throw EngineFailure("The recording cannot be read.", kRecordAgain);
    if (bytes.empty())
        throw EngineFailure("The recording is empty.", kRecordAgain);
    return bytes;
}

void readFormat(Bytes chunk, Sound& sound)
{
    if (chunk.size() < 16)
        throw EngineFailure("The recording is damaged: its format is cut short.", kRecordAgain);
    sound.format = static_cast<std::uint16_t>(littleEndian(chunk, 0, 2));
    sound.channels = static_cast<std::uint16_t>(littleEndian(chunk, 2, 2));
    sound.rate = littleEndian(chunk, 4, 4);
    sound.bits = static_cast<std::uint16_t>(littleEndian(chunk, 14, 2));
    if (sound.format == kExtensibleFormat && chunk.size() >= 26)
        sound.format = static_cast<std::uint16_t>(littleEndian(chunk, 24, 2));
}

Sound findSound(Bytes file)
{
    if (!reads(file, 0, "RIFF") || !reads(file, 8, "WAVE"))
        throw EngineFailure("The recording is damaged or not a WAV file.", kRecordAgain);
    Sound sound;
    for (std::size_t at = 12; at + 8 <= file.size();) {
        const auto rest = file.subspan(at + 8);
        const std::size_t size = littleEndian(file, at + 4, 4);
        if (reads(file, at, "data")) {
            // A recorder that was stopped hard leaves 0 or the largest size; then all that follows is sound.
            sound.samples = rest.first(size == 0 ? rest.size() : std::min(size, rest.size()));
            return sound;
        }
        if (reads(file, at, "fmt "))
            readFormat(rest.first(std::min(size, rest.size())), sound);
        if (size > rest.size())
            break;
        at += 8 + size + size % 2;
    }
    throw EngineFailure("The recording is empty.", kRecordAgain);
}

bool isUsable(const Sound& sound)
{
    const bool isInteger = sound.format == kIntegerFormat
        && (sound.bits == 8 || sound.bits == 16 || sound.bits == 24 || sound.bits == 32);
    const bool isFloat = sound.format == kFloatFormat && sound.bits == 32;
    return (isInteger || isFloat) && sound.channels >= 1 && sound.channels <= 32 && sound.rate >= 4000
        && sound.rate <= 384000;
}

float sampleAt(const Sound& sound, std::size_t at)
{
    const int bytes = sound.bits / 8;
    const auto raw = littleEndian(sound.samples, at, bytes);
    if (sound.format == kFloatFormat) {
        const auto value = std::bit_cast<float>(raw);
        return std::isfinite(value) ? std::clamp(value, -1.0F, 1.0F) : 0.0F;
    }
    if (bytes == 1)
        return (static_cast<float>(raw) - 128.0F) / 128.0F;
    const auto value = static_cast<std::int32_t>(raw << (32 - sound.bits));
    return static_cast<float>(value) / 2147483648.0F;
}

std::vector<float> mixedDown(const Sound& sound)
{
    const std::size_t sampleBytes = sound.bits / 8U;
    const std::size_t frameBytes = sampleBytes * sound.channels;
    std::vector<float> mono(sound.samples.size() / frameBytes);
    for (std::size_t frame = 0; frame < mono.size(); ++frame) {
        float sum = 0;
        for (std::size_t channel = 0; channel < sound.channels; ++channel)
            sum += sampleAt(sound, frame * frameBytes + channel * sampleBytes);
        mono[frame] = sum / static_cast<float>(sound.channels);
    }
    return mono;
}

/// Each result is the mean of the source over its own duration, which keeps most of what would alias out of speech.
std::vector<float> resampled(const std::vector<float>& source, std::uint32_t rate)
{
    const double step = static_cast<double>(rate) / kSamplesPerSecond;
    std::vector<float> result(static_cast<std::size_t>(static_cast<double>(source.size()) / step));
    for (std::size_t i = 0; i < result.size(); ++i) {
        const double begin = static_cast<double>(i) * step;
        if (step <= 1) {
            const auto left = static_cast<std::size_t>(begin);
            const auto right = std::min(left + 1, source.size() - 1);
            const auto share = static_cast<float>(begin - std::floor(begin));
            result[i] = source[left] * (1 - share) + source[right] * share;
            continue;
        }
        const auto first = static_cast<std::size_t>(begin);
        const auto last = std::min(static_cast<std::size_t>(begin + step), source.size());
        float sum = 0;
        for (std::size_t j = first; j < last; ++j)
            sum += source[j];
        result[i] = sum / static_cast<float>(last - first);
    }
    return result;
}

} // namespace

std::vector<float> readWavFile(const std::string& path)
{
    const auto bytes = readAll(path);
    const auto sound = findSound(bytes);
    if (!isUsable(sound))
        throw EngineFailure("The recording has a sound format that the speech engine does not know.", kRecordAgain);
    auto samples = mixedDown(sound);
    if (samples.empty())
        throw EngineFailure("The recording is empty.", kRecordAgain);
    return sound.rate == kSamplesPerSecond ? samples : resampled(samples, sound.rate);
}

} // namespace tallowfern
