#include "engines/ParakeetTranscriber.h"

#include "engines/EngineFailure.h"

#include <parakeet.h>

#include <cstring>

namespace tallowfern {

ParakeetTranscriber::ParakeetTranscriber(ModelFile& model, int threads)
    : m_context(load(model))
    , m_threads(threads)
{
}

parakeet_context* ParakeetTranscriber::load(ModelFile& model)
{
    parakeet_model_loader loader{};
    loader.context = &model;
    loader.read
        = [](void* file, void* target, size_t size) { return static_cast<ModelFile*>(file)->read(target, size); };
    loader.eof = [](void* file) { return static_cast<ModelFile*>(file)->isAtEnd(); };
    loader.close = [](void*) {};
    auto parameters = parakeet_context_default_params();
    parameters.use_gpu = false;

    // The library lets a model without weights pass, with a line in its log.
    bool hasNoWeights = false;
    parakeet_log_set(
        [](ggml_log_level, const char* line, void* flag) {
            if (std::strstr(line, "no tensors loaded") != nullptr)
                *static_cast<bool*>(flag) = true;
        },
        &hasNoWeights);
    auto* const context = parakeet_init_with_params(&loader, parameters);
    parakeet_log_set([](ggml_log_level, const char*, void*) {}, nullptr);
    if (context == nullptr || hasNoWeights)
        throwDamagedModel();
    return context;
}

std::string ParakeetTranscriber::transcribe(std::span<const float> window)
{
    auto parameters = parakeet_full_default_params(PARAKEET_SAMPLING_GREEDY);
    parameters.n_threads = m_threads;
    if (parakeet_full(m_context, parameters, window.data(), static_cast<int>(window.size())) != 0)
        throw EngineFailure(
            "The speech engine failed while it listened.", "Try again, or choose another speech model.");
    std::string text;
    for (int segment = 0; segment < parakeet_full_n_segments(m_context); ++segment)
        text += parakeet_full_get_segment_text(m_context, segment);
    return text;
}

} // namespace tallowfern
