#include "engines/WhisperTranscriber.h"

#include "engines/AudioContext.h"
#include "engines/EngineFailure.h"
#include "engines/Prompt.h"
#include "engines/Repetition.h"
#include "engines/WavFile.h"

#include <whisper.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tallowfern {

namespace {

constexpr double kTokensPerSecond = 4;
constexpr double kMostTokensPerSecond = 12; // nobody speaks as fast; a lost model does
constexpr int kMostTokensBase = 24;
constexpr double kFewestWordsPerSecond = 0.5; // pauses are short here

std::string knownLanguage(const std::string& language)
{
    whisper_log_set([](ggml_log_level, const char*, void*) {}, nullptr); // it would tell of an unknown one itself
    if (language != "auto" && whisper_lang_id(language.c_str()) < 0)
        throw EngineFailure("The speech engine does not know the language \"" + language + "\".",
            "Choose a language that the speech model knows.");
    return language;
}

bool saysTooLittle(const std::string& text, std::size_t samples)
{
    const auto words = std::count(text.begin(), text.end(), ' '); // each begins with one
    return static_cast<double>(words) < kFewestWordsPerSecond * static_cast<double>(samples) / kSamplesPerSecond;
}

} // namespace

WhisperTranscriber::WhisperTranscriber(ModelFile& model, const Arguments& arguments, Progress& progress)
    : m_arguments(arguments)
    , m_progress(progress)
    , m_language(knownLanguage(arguments.language))
    , m_prompt(boundedPrompt(arguments.prompt))
    , m_context(load(model))
{
    if (whisper_is_multilingual(m_context) == 0)
        m_language = "en";
}

whisper_context* WhisperTranscriber::load(ModelFile& model)
{
    whisper_model_loader loader{};
    loader.context = &model;
    loader.read
        = [](void* file, void* target, size_t size) { return static_cast<ModelFile*>(file)->read(target, size); };
    loader.eof = [](void* file) { return static_cast<ModelFile*>(file)->isAtEnd(); };
    loader.close = [](void*) {};
    auto parameters = whisper_context_default_params();
    parameters.use_gpu = false;

    // The library lets a model without weights pass, with a line in its log.
    bool hasNoWeights = false;
    whisper_log_set(
        [](ggml_log_level, const char* line, void* flag) {
            if (std::strstr(line, "no tensors loaded") != nullptr)
                *static_cast<bool*>(flag) = true;
        },
        &hasNoWeights);
    auto* const context = whisper_init_with_params(&loader, parameters);
    whisper_log_set([](ggml_log_level, const char*, void*) {}, nullptr);
    if (context == nullptr || hasNoWeights)
        throwDamagedModel();
    return context;
}

std::string WhisperTranscriber::transcribe(std::span<const float> window)
{
    // Only the first time: what a longer window leaves behind in the library's memory reaches into a shorter one.
    const auto fitted = m_hasHeard ? 0 : fittedAudioContext(window.size(), whisper_n_audio_ctx(m_context));
    m_hasHeard = true;
    auto hearing = hear(window, fitted);
    if (fitted != 0 && hearing.isDoubtful)
        hearing = hear(window, 0);
    if (!m_prompt.empty() && saysTooLittle(hearing.text, window.size())) {
        m_prompt.clear(); // a prompt as long as the model's memory can take the place of the words
        auto unprompted = hear(window, 0);
        if (unprompted.text.size() > hearing.text.size())
            return unprompted.text;
    }
    return hearing.text;
}

WhisperTranscriber::Hearing WhisperTranscriber::hear(std::span<const float> window, int audioContext)
{
    const auto seconds = static_cast<double>(window.size()) / kSamplesPerSecond;
    m_expectedTokens = seconds * kTokensPerSecond + 1;
    m_decodedTokens = 0;
    auto parameters = this->parameters();
    parameters.audio_ctx = audioContext;
    if (audioContext != 0) {
        // The retries for a doubtful hearing are made with the whole context instead.
        parameters.temperature_inc = 0;
        parameters.max_tokens = kMostTokensBase + static_cast<int>(seconds * kMostTokensPerSecond);
    }
    if (whisper_full(m_context, parameters, window.data(), static_cast<int>(window.size())) != 0)
        throw EngineFailure(
            "The speech engine failed while it listened.", "Try again, or choose another speech model.");
    Hearing hearing;
    for (int segment = 0; segment < whisper_full_n_segments(m_context); ++segment)
        hearing.text += whisper_full_get_segment_text(m_context, segment);
    hearing.isDoubtful = hearing.text.empty() || isUnsure() || repeatsItself(hearing.text)
        || (parameters.max_tokens > 0 && m_decodedTokens >= parameters.max_tokens);
    return hearing;
}

whisper_full_params WhisperTranscriber::parameters()
{
    auto parameters = whisper_full_default_params(WHISPER_SAMPLING_BEAM_SEARCH);
    parameters.greedy.best_of = whisper_full_default_params(WHISPER_SAMPLING_GREEDY).greedy.best_of;
    parameters.n_threads = m_arguments.threads;
    parameters.language = m_language.c_str();
    parameters.initial_prompt = m_prompt.empty() ? nullptr : m_prompt.c_str();
    parameters.no_timestamps = true;
    parameters.no_context = true;
    parameters.suppress_nst = m_arguments.suppressesNonSpeech;
    parameters.print_progress = false;
    parameters.print_realtime = false;
    parameters.print_timestamps = false;
    parameters.logits_filter_callback_user_data = this;
    parameters.logits_filter_callback
        = [](whisper_context*, whisper_state*, const whisper_token_data*, int tokens, float*, void* self) {
              static_cast<WhisperTranscriber*>(self)->tokenDecoded(tokens);
          };
    return parameters;
}

void WhisperTranscriber::tokenDecoded(int tokens)
{
    int most = m_decodedTokens;
    while (tokens > most && !m_decodedTokens.compare_exchange_weak(most, tokens)) { }
    m_progress.decoded(tokens / m_expectedTokens);
}

bool WhisperTranscriber::isUnsure() const
{
    const auto threshold = whisper_full_default_params(WHISPER_SAMPLING_BEAM_SEARCH).logprob_thold;
    double sum = 0;
    int count = 0;
    for (int segment = 0; segment < whisper_full_n_segments(m_context); ++segment) {
        for (int token = 0; token < whisper_full_n_tokens(m_context, segment); ++token, ++count)
            sum += std::log(static_cast<double>(whisper_full_get_token_p(m_context, segment, token)) + 1e-9);
    }
    return count > 0 && sum / count < static_cast<double>(threshold);
}

} // namespace tallowfern
