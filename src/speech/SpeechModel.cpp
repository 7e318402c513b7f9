#include "speech/SpeechModel.h"

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

/// What the interface shows for a model beside its record.
struct Look {
    QLatin1StringView id;
    int speed;
    int quality;
    SpeechModel::Color accent;
    QLatin1StringView symbol;
};

constexpr std::array kLooks{
    Look{"pocket"_L1, 5, 3, {0.88, 0.58, 0.18}, "hare.fill"_L1},
    Look{"velocity"_L1, 5, 4, {0.20, 0.57, 0.82}, "bird.fill"_L1},
    Look{"swift"_L1, 4, 4, {0.86, 0.35, 0.31}, "bolt.fill"_L1},
    Look{"balanced"_L1, 3, 3, {0.47, 0.40, 0.78}, "globe.europe.africa.fill"_L1},
    Look{"studio"_L1, 2, 5, {0.55, 0.68, 0.12}, "sparkles"_L1},
};

const Look* lookOf(const QString& id)
{
    const auto* const found
        = std::find_if(kLooks.begin(), kLooks.end(), [&](const Look& look) { return look.id == id; });
    return found == kLooks.end() ? nullptr : found;
}

} // namespace

int SpeechModel::speedRating() const
{
    const Look* look = lookOf(id);
    return look ? look->speed : 3;
}

int SpeechModel::qualityRating() const
{
    const Look* look = lookOf(id);
    return look ? look->quality : 3;
}

std::optional<SpeechModel::Color> SpeechModel::accentColor() const
{
    const Look* look = lookOf(id);
    return look ? std::optional(look->accent) : std::nullopt;
}

QString SpeechModel::symbolName() const
{
    const Look* look = lookOf(id);
    return look ? QString(look->symbol) : u"waveform"_s;
}

const QList<SpeechModel>& SpeechModel::catalog()
{
    static const QList<SpeechModel> models{
        {
            .id = u"pocket"_s,
            .name = u"Pocket"_s,
            .officialName = u"Whisper tiny.en Q5_1"_s,
            .organization = u"OpenAI"_s,
            .tier = u"Fastest English"_s,
            .detail = u"A tiny, instant English model for everyday notes and commands."_s,
            .sizeLabel = u"31 MB"_s,
            .byteSize = 32200000,
            .fileName = u"ggml-tiny.en-q5_1.bin"_s,
            .hubPath = u"orrinvale/whisper.cpp/resolve/main/ggml-tiny.en-q5_1.bin?download=true"_s,
            .isEnglishOnly = true,
            .languageSummary = u"English"_s,
            .license = u"MIT"_s,
            .engine = SpeechEngine::Whisper,
            .accent = u"violet"_s,
        },
        {
            .id = u"velocity"_s,
            .name = u"Velocity"_s,
            .officialName = u"Parakeet-TDT-0.6B-v3 Q4"_s,
            .organization = u"NVIDIA"_s,
            .tier = u"Fastest multilingual"_s,
            .detail = u"Very fast local dictation with punctuation across 25 European languages."_s,
            .sizeLabel = u"356 MB"_s,
            .byteSize = 356000000,
            .fileName = u"ggml-parakeet-tdt-0.6b-v3-q4_0.bin"_s,
            .hubPath = u"ggml-org/parakeet-GGUF/resolve/main/ggml-parakeet-tdt-0.6b-v3-q4_0.bin?download=true"_s,
            .isEnglishOnly = false,
            .languageSummary = u"25 European languages"_s,
            .license = u"CC BY 4.0"_s,
            .engine = SpeechEngine::Parakeet,
            .accent = u"blue"_s,
        },
        {
            .id = u"swift"_s,
            .name = u"Swift"_s,
            .officialName = u"Distil-Whisper small.en"_s,
            .organization = u"Hugging Face"_s,
            .tier = u"Fast + accurate"_s,
            .detail = u"Distil-Whisper for fast, high-quality English dictation."_s,
            .sizeLabel = u"322 MB"_s,
            .byteSize = 337000000,
            .fileName = u"ggml-distil-small.en.bin"_s,
            .hubPath = u"distil-whisper/distil-small.en/resolve/main/ggml-distil-small.en.bin?download=true"_s,
            .isEnglishOnly = true,
            .languageSummary = u"English"_s,
            .license = u"MIT"_s,
            .engine = SpeechEngine::Whisper,
            .accent = u"coral"_s,
        },
        {
            .id = u"balanced"_s,
            .name = u"Balanced"_s,
            .officialName = u"Whisper small Q5_1"_s,
            .organization = u"OpenAI"_s,
            .tier = u"Multilingual"_s,
            .detail = u"A compact multilingual model for everyday use."_s,
            .sizeLabel = u"181 MB"_s,
            .byteSize = 190000000,
            .fileName = u"ggml-small-q5_1.bin"_s,
            .hubPath = u"orrinvale/whisper.cpp/resolve/main/ggml-small-q5_1.bin?download=true"_s,
            .isEnglishOnly = false,
            .languageSummary = u"99 languages"_s,
            .license = u"MIT"_s,
            .engine = SpeechEngine::Whisper,
            .accent = u"blue"_s,
        },
        {
            .id = u"studio"_s,
            .name = u"Studio"_s,
            .officialName = u"Whisper large-v3-turbo Q5_0"_s,
            .organization = u"OpenAI"_s,
            .tier = u"Best quality"_s,
            .detail = u"Large V3 Turbo, quantized for excellent multilingual accuracy."_s,
            .sizeLabel = u"547 MB"_s,
            .byteSize = 574000000,
            .fileName = u"ggml-large-v3-turbo-q5_0.bin"_s,
            .hubPath = u"orrinvale/whisper.cpp/resolve/main/ggml-large-v3-turbo-q5_0.bin?download=true"_s,
            .isEnglishOnly = false,
            .languageSummary = u"99 languages"_s,
            .license = u"MIT"_s,
            .engine = SpeechEngine::Whisper,
            .accent = u"mint"_s,
        },
    };
    return models;
}

} // namespace tallowfern
