#include "agent/models/AgentModelCatalog.h"

#include <algorithm>
#include <array>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

struct Ratings {
    QLatin1StringView id;
    int speed;
    int quality;
};

constexpr int kMiddle = 3; ///< of a model that we do not know

constexpr std::array kRatings{
    Ratings{"apple-system"_L1, 4, 3},
    Ratings{"qwen3-4b-q4"_L1, 3, 3},
    Ratings{"qwen25-vl-3b-q4"_L1, 3, 3},
    Ratings{"deepseek-r1-15b-q4"_L1, 2, 4},
    Ratings{"gemma4-e2b-q4"_L1, 4, 2},
    Ratings{"gemma4-e4b-q4"_L1, 3, 4},
    Ratings{"muse-glimmer-30b"_L1, 1, 5},
    Ratings{"openai-luna"_L1, 4, 3},
    Ratings{"openai-terra"_L1, 3, 4},
    Ratings{"openai-sol"_L1, 2, 5},
    Ratings{"gemini-flash"_L1, 4, 4},
    Ratings{"gemini-flash-lite"_L1, 4, 3},
    Ratings{"mistral-small"_L1, 4, 3},
    Ratings{"mistral-medium"_L1, 3, 4},
};

Ratings ratingsOf(const QString& id)
{
    const auto* const found
        = std::find_if(kRatings.begin(), kRatings.end(), [&](const Ratings& ratings) { return ratings.id == id; });
    return found == kRatings.end() ? Ratings{{}, kMiddle, kMiddle} : *found;
}

AgentModelArtifact modelFile(const QString& fileName, qint64 byteSize, const QString& sha256)
{
    return {fileName, {}, byteSize, sha256, AgentModelArtifact::Role::Model};
}

AgentModelArtifact projector(const QString& fileName, qint64 byteSize, const QString& sha256)
{
    return {fileName, {}, byteSize, sha256, AgentModelArtifact::Role::VisionProjector};
}

/// The model with the addresses of its files, pinned to its revision, so that what is fetched is what was hashed.
AgentModelDescriptor onHub(const QString& repository, AgentModelDescriptor model)
{
    for (AgentModelArtifact& file : model.artifacts)
        file.url = repository + u"/resolve/"_s + model.sourceRevision + u'/' + file.fileName + u"?download=true"_s;
    return model;
}

} // namespace

int speedRating(const AgentModelDescriptor& model)
{
    return ratingsOf(model.id).speed;
}

int qualityRating(const AgentModelDescriptor& model)
{
    return ratingsOf(model.id).quality;
}

const QList<AgentModelDescriptor>& agentModelCatalog()
{
    static const QList<AgentModelDescriptor> models{
        {
            .id = u"apple-system"_s,
            .name = u"Apple On-Device"_s,
            .officialName = u"SystemLanguageModel"_s,
            .organization = u"Apple"_s,
            .detail = u"The private system model built into macOS. No extra download."_s,
            .sizeLabel = u"Built in"_s,
            .license = u"System"_s,
            .sourceRevision = u"macOS 26"_s,
            .provider = AgentModelProvider::AppleSystem,
            .capabilities = {.text = true, .images = false},
            .artifacts = {},
            .recommendedFor16GB = true,
            .minimumMemoryGB = {},
            .recommendedMemoryGB = {},
        },
        onHub(u"/ggml-org/Qwen3-4B-GGUF"_s, {
            .id = u"qwen3-4b-q4"_s,
            .name = u"Qwen Writer"_s,
            .officialName = u"Qwen3 4B Q4_K_M"_s,
            .organization = u"Qwen"_s,
            .detail = u"A compact multilingual writing model with strong instruction following."_s,
            .sizeLabel = u"2.5 GB"_s,
            .license = u"Apache 2.0"_s,
            .sourceRevision = u"2f3b082b1356a6123f7ed71e65aea340da25d53c"_s,
            .provider = AgentModelProvider::LlamaCPP,
            .capabilities = {.text = true, .images = false},
            .artifacts = {
                modelFile(u"Qwen3-4B-Q4_K_M.gguf"_s, 2497280640,
                    u"ab27b9bfa375a178d6cba48f3ad892b94b7739659dcc7aae8058ce0ffed6b328"_s),
            },
            .recommendedFor16GB = true,
            .minimumMemoryGB = 8,
            .recommendedMemoryGB = 16,
        }),
        onHub(u"/ggml-org/Qwen2.5-VL-3B-Instruct-GGUF"_s, {
            .id = u"qwen25-vl-3b-q4"_s,
            .name = u"Qwen Vision"_s,
            .officialName = u"Qwen2.5-VL 3B Q4_K_M"_s,
            .organization = u"Qwen"_s,
            .detail = u"A small multimodal model for writing with an attached app-window screenshot."_s,
            .sizeLabel = u"2.8 GB"_s,
            .license = u"Apache 2.0"_s,
            .sourceRevision = u"5037fcf163dd95d1e41d1974465f0898ed108ca2"_s,
            .provider = AgentModelProvider::LlamaCPP,
            .capabilities = {.text = true, .images = true},
            .artifacts = {
                modelFile(u"Qwen2.5-VL-3B-Instruct-Q4_K_M.gguf"_s, 1929901056,
                    u"d02fe9b69ad8cadbbd228e387667af66612c44bed29ffc8eb1e7caf9ac486c12"_s),
                projector(u"mmproj-Qwen2.5-VL-3B-Instruct-Q8_0.gguf"_s, 844757728,
                    u"980c9b2f78c04e6cff93d277ada09e768394f112d75db3b4e9dea8a69f9fb904"_s),
            },
            .recommendedFor16GB = true,
            .minimumMemoryGB = 8,
            .recommendedMemoryGB = 16,
        }),
        onHub(u"/ggml-org/DeepSeek-R1-Distill-Qwen-1.5B-Q4_0-GGUF"_s, {
            .id = u"deepseek-r1-15b-q4"_s,
            .name = u"DeepSeek Compact"_s,
            .officialName = u"DeepSeek R1 Distill Qwen 1.5B Q4"_s,
            .organization = u"DeepSeek"_s,
            .detail = u"The smallest curated option for more deliberate rewriting tasks."_s,
            .sizeLabel = u"1.1 GB"_s,
            .license = u"MIT"_s,
            .sourceRevision = u"fc9d48f477cfe8f983fa5e41557ecd47e619fef4"_s,
            .provider = AgentModelProvider::LlamaCPP,
            .capabilities = {.text = true, .images = false},
            .artifacts = {
                modelFile(u"deepseek-r1-distill-qwen-1.5b-q4_0.gguf"_s, 1066227008,
                    u"0d3f4820ee66ab44884b8176f17371eb1baa1d63df15740ffd5873d9e03e8978"_s),
            },
            .recommendedFor16GB = true,
            .minimumMemoryGB = 8,
            .recommendedMemoryGB = 8,
        }),
        onHub(u"/ggml-org/gemma-4-E2B-it-GGUF"_s, {
            .id = u"gemma4-e2b-q4"_s,
            .name = u"Gemma 4 E2B"_s,
            .officialName = u"Gemma 4 E2B IT Q4_0"_s,
            .organization = u"Google"_s,
            .detail = u"The fastest Gemma 4 option for responsive local writing and screenshots."_s,
            .sizeLabel = u"3.4 GB"_s,
            .license = u"Apache 2.0"_s,
            .sourceRevision = u"b4243c156154b6dca9324415f8c7ccc098b4aed1"_s,
            .provider = AgentModelProvider::LlamaCPP,
            .capabilities = {.text = true, .images = true},
            .artifacts = {
                modelFile(u"gemma-4-E2B-it-Q4_0.gguf"_s, 2841481184,
                    u"8e30dff3ac4c8434c49a7036fa15564bdbb6044e42bf04550bf1a096ad7e6a52"_s),
                projector(u"mmproj-gemma-4-E2B-it-Q8_0.gguf"_s, 557368064,
                    u"9406f99c16d68cda4f1f0552192dcc99021ea1fc6d2fd50b1dc3ccf30d04b292"_s),
            },
            .recommendedFor16GB = true,
            .minimumMemoryGB = 8,
            .recommendedMemoryGB = 8,
        }),
        onHub(u"/ggml-org/gemma-4-E4B-it-GGUF"_s, {
            .id = u"gemma4-e4b-q4"_s,
            .name = u"Gemma 4 E4B"_s,
            .officialName = u"Gemma 4 E4B IT Q4_0"_s,
            .organization = u"Google"_s,
            .detail = u"The higher-quality Gemma 4 edge model for capable local writing and screenshots."_s,
            .sizeLabel = u"5.2 GB"_s,
            .license = u"Apache 2.0"_s,
            .sourceRevision = u"b8093469224f83f5c38f691eb906c380e9e63114"_s,
            .provider = AgentModelProvider::LlamaCPP,
            .capabilities = {.text = true, .images = true},
            .artifacts = {
                modelFile(u"gemma-4-E4B-it-Q4_0.gguf"_s, 4590807392,
                    u"a555b900214b477d8880e7832e0b8925e139b0159640036b09fe472b6f2097f2"_s),
                projector(u"mmproj-gemma-4-E4B-it-Q8_0.gguf"_s, 559874816,
                    u"197f49a93027f9843772bd24a6a9e0be2a32a788de5a3def330e9c585d86edd1"_s),
            },
            .recommendedFor16GB = true,
            .minimumMemoryGB = 8,
            .recommendedMemoryGB = 16,
        }),
        onHub(u"/meta-models/Muse-Glimmer-30B-GGUF"_s, {
            .id = u"muse-glimmer-30b"_s,
            .name = u"Muse Glimmer"_s,
            .officialName = u"Muse Glimmer 30B K-Quant"_s,
            .organization = u"Meta"_s,
            .detail = u"Meta's strongest local writing and screenshot model. Built for Macs with 24 GB of memory or "
                      "more."_s,
            .sizeLabel = u"18.2 GB"_s,
            .license = u"Apache 2.0"_s,
            .sourceRevision = u"a0532f7263ee67f1e0a5f5c5fdcd50dd62fc9aa4"_s,
            .provider = AgentModelProvider::LlamaCPP,
            .capabilities = {.text = true, .images = true},
            .artifacts = {
                modelFile(u"muse-glimmer-30B-kquant-17gb.gguf"_s, 16756681056,
                    u"7e9b74b7c8875e9e265695df9613bf6290f2392e479ce740495a129019c488d8"_s),
                projector(u"mmproj-kquant.gguf"_s, 1400328928,
                    u"f48b452316f9b213758e8659444029b961a24a07f99a1abb2a9f88b06f7c00c6"_s),
            },
            .recommendedFor16GB = false,
            .minimumMemoryGB = 24,
            .recommendedMemoryGB = 32,
        }),
        {
            .id = u"openai-luna"_s,
            .name = u"Luna"_s,
            .officialName = u"gpt-5.6-luna"_s,
            .organization = u"OpenAI"_s,
            .detail = u"Fast, economical cloud writing for everyday drafts and edits."_s,
            .sizeLabel = u"Paid API"_s,
            .license = u"OpenAI API"_s,
            .sourceRevision = u"GPT-5.6"_s,
            .provider = AgentModelProvider::OpenAI,
            .capabilities = {.text = true, .images = true},
            .artifacts = {},
            .recommendedFor16GB = false,
            .minimumMemoryGB = {},
            .recommendedMemoryGB = {},
        },
        {
            .id = u"openai-terra"_s,
            .name = u"Terra"_s,
            .officialName = u"gpt-5.6-terra"_s,
            .organization = u"OpenAI"_s,
            .detail = u"Balanced cloud speed and quality for richer rewriting work."_s,
            .sizeLabel = u"Paid API"_s,
            .license = u"OpenAI API"_s,
            .sourceRevision = u"GPT-5.6"_s,
            .provider = AgentModelProvider::OpenAI,
            .capabilities = {.text = true, .images = true},
            .artifacts = {},
            .recommendedFor16GB = false,
            .minimumMemoryGB = {},
            .recommendedMemoryGB = {},
        },
        {
            .id = u"openai-sol"_s,
            .name = u"Sol"_s,
            .officialName = u"gpt-5.6-sol"_s,
            .organization = u"OpenAI"_s,
            .detail = u"The quality-first cloud model for the most complex writing tasks."_s,
            .sizeLabel = u"Paid API"_s,
            .license = u"OpenAI API"_s,
            .sourceRevision = u"GPT-5.6"_s,
            .provider = AgentModelProvider::OpenAI,
            .capabilities = {.text = true, .images = true},
            .artifacts = {},
            .recommendedFor16GB = false,
            .minimumMemoryGB = {},
            .recommendedMemoryGB = {},
        },
        {
            .id = u"gemini-flash"_s,
            .name = u"Gemini Flash"_s,
            .officialName = u"gemini-3.6-flash"_s,
            .organization = u"Google"_s,
            .detail = u"Fast, capable cloud writing for agentic and multimodal tasks."_s,
            .sizeLabel = u"Paid API"_s,
            .license = u"Gemini API"_s,
            .sourceRevision = u"Gemini 3.6"_s,
            .provider = AgentModelProvider::Gemini,
            .capabilities = {.text = true, .images = true},
            .artifacts = {},
            .recommendedFor16GB = false,
            .minimumMemoryGB = {},
            .recommendedMemoryGB = {},
        },
        {
            .id = u"gemini-flash-lite"_s,
            .name = u"Gemini Flash-Lite"_s,
            .officialName = u"gemini-3.5-flash-lite"_s,
            .organization = u"Google"_s,
            .detail = u"Google's fastest, lowest-cost cloud option for lighter writing tasks."_s,
            .sizeLabel = u"Paid API"_s,
            .license = u"Gemini API"_s,
            .sourceRevision = u"Gemini 3.5"_s,
            .provider = AgentModelProvider::Gemini,
            .capabilities = {.text = true, .images = true},
            .artifacts = {},
            .recommendedFor16GB = false,
            .minimumMemoryGB = {},
            .recommendedMemoryGB = {},
        },
        {
            .id = u"mistral-small"_s,
            .name = u"Mistral Small"_s,
            .officialName = u"mistral-small-latest"_s,
            .organization = u"Mistral AI"_s,
            .detail = u"Responsive multimodal cloud writing with adjustable reasoning."_s,
            .sizeLabel = u"Paid API"_s,
            .license = u"Mistral API"_s,
            .sourceRevision = u"Latest"_s,
            .provider = AgentModelProvider::Mistral,
            .capabilities = {.text = true, .images = true},
            .artifacts = {},
            .recommendedFor16GB = false,
            .minimumMemoryGB = {},
            .recommendedMemoryGB = {},
        },
        {
            .id = u"mistral-medium"_s,
            .name = u"Mistral Medium"_s,
            .officialName = u"mistral-medium-3-5"_s,
            .organization = u"Mistral AI"_s,
            .detail = u"Mistral's quality-first multimodal model for complex writing work."_s,
            .sizeLabel = u"Paid API"_s,
            .license = u"Mistral API"_s,
            .sourceRevision = u"Mistral 3.5"_s,
            .provider = AgentModelProvider::Mistral,
            .capabilities = {.text = true, .images = true},
            .artifacts = {},
            .recommendedFor16GB = false,
            .minimumMemoryGB = {},
            .recommendedMemoryGB = {},
        },
    };
    return models;
}

} // namespace tallowfern
