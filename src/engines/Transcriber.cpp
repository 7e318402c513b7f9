#include "Transcriber.h"

#include "EncoderContext.h"
#include "Failure.h"
#include "Prompt.h"
#include "Repetition.h"
#include "WavFile.h"

#include "whisper.h"

#include <algorithm>
#include <cstdio>

namespace tallowfern::engines {

namespace {

constexpr double kLoadShare = 0.1;         // of the whole work, about
constexpr double kEncoderShare = 0.65;     // of one window's work
constexpr double kWordsPerSecond = 4;      // tokens, for the decoder's share of the progress
constexpr double kLongestWindow = 28;      // seconds; the model hears 30
constexpr double kShortestRecording = 0.1; // seconds; less holds no word

/// What the callbacks of one run see.
struct Run {
    ProgressLines& progress;
    double begin;
    double end;
    double expectedTokens;
    int tokens = 0;
};

void onToken(whisper_context*, whisper_state*, const whisper_token_data*, int count, float*, void* data)
{
    auto& run = *static_cast<Run*>(data);
    run.tokens = std::max(run.tokens, count);
    const double decoded = std::min(1.0, run.tokens / run.expectedTokens);
    const double done = kEncoderShare + (1 - kEncoderShare) * decoded;
    run.progress.reach(run.begin + (run.end - run.begin) * done * 0.99);
}

std::string trimmed(const std::string& text)
{
    const char* const blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string textOf(whisper_context* context)
{
    std::string text;
    for (int i = 0; i < whisper_full_n_segments(context); ++i)
        text += whisper_full_get_segment_text(context, i);
    return trimmed(text);
}

whisper_full_params parameters(const Arguments& arguments)
{
    whisper_full_params result = whisper_full_default_params(WHISPER_SAMPLING_BEAM_SEARCH);
    result.n_threads = arguments.threads;
    result.no_timestamps = true;
    result.suppress_nst = arguments.suppressNonSpeech;
    result.print_progress = false;
    result.print_timestamps = false;
    result.greedy.best_of = result.beam_search.beam_size; // for the second tries at a higher temperature
    return result;
}

} // namespace

void ProgressLines::reach(double share)
{
    const int percent = static_cast<int>(std::clamp(share, 0.0, 1.0) * 100);
    if (!m_print || percent <= m_percent)
        return;
    m_percent = percent;
    std::fprintf(stderr, "progress = %3d%%\n", percent);
}

void Transcriber::Free::operator()(whisper_context* context) const
{
    whisper_free(context);
}

Transcriber::Transcriber(const Arguments& arguments)
    : m_arguments(arguments)
    , m_prompt(boundedPrompt(arguments.prompt))
    , m_progress(arguments.printProgress)
{
    whisper_log_set([](ggml_log_level, const char*, void*) {}, nullptr);
    if (arguments.language != "auto" && whisper_lang_id(arguments.language.c_str()) < 0)
        throw Failure("The speech engine does not know the language \"" + arguments.language + "\".",
            "Give a code such as en, de or fr, or auto.", kUsage);
    ModelFile file(arguments.model, Engine::Whisper);
    file.onProgress = [this](double read) { m_progress.reach(kLoadShare * read); };
    whisper_model_loader loader{};
    loader.context = &file;
    loader.read = [](void* context, void* target, size_t size) {
        return static_cast<ModelFile*>(context)->read(target, size);
    };
    loader.eof = [](void* context) { return static_cast<ModelFile*>(context)->atEnd(); };
    loader.close = [](void*) {};
    whisper_context_params wanted = whisper_context_default_params();
    wanted.use_gpu = false;
    try {
        m_context.reset(whisper_init_with_params(&loader, wanted));
    } catch (const std::exception&) {
        m_context.reset();
    }
    if (!m_context || file.isCutShort() || !file.atEnd())
        throw Failure("The speech model's file is damaged or cut short.", "Download the model again on the Models page.");
}

std::string Transcriber::transcribe(const std::vector<float>& samples)
{
    std::string text;
    if (static_cast<double>(samples.size()) >= kShortestRecording * kSampleRate && !isDigitalSilence(samples)) {
        for (const Window& window : cutAtSilences(samples, kLongestWindow)) {
            const auto share = [&](std::size_t sample) {
                return kLoadShare + (1 - kLoadShare) * static_cast<double>(sample) / static_cast<double>(samples.size());
            };
            const std::string part = transcribeWindow(samples, window, {share(window.begin), share(window.end)});
            text += (text.empty() || part.empty() ? "" : " ") + part;
        }
    }
    m_progress.reach(1);
    return text;
}

std::string Transcriber::transcribeWindow(const std::vector<float>& samples, const Window& window, Share share)
{
    const int fitted = fittedEncoderContext(window.seconds());
    const std::string text = run(samples, window, fitted, share);
    if (fitted == 0 || !(text.empty() || repeatsItself(text)))
        return text;
    return run(samples, window, 0, share); // the fitted encoder may have lost it
}

std::string Transcriber::run(const std::vector<float>& samples, const Window& window, int encoderContext, Share share)
{
    whisper_full_params wanted = parameters(m_arguments);
    wanted.audio_ctx = std::min(encoderContext, whisper_model_n_audio_ctx(m_context.get()));
    wanted.language = whisper_is_multilingual(m_context.get()) ? m_arguments.language.c_str() : "en";
    wanted.initial_prompt = m_prompt.empty() ? nullptr : m_prompt.c_str();
    Run state{m_progress, share.begin, share.end, 8 + window.seconds() * kWordsPerSecond};
    wanted.logits_filter_callback = onToken;
    wanted.logits_filter_callback_user_data = &state;
    const int count = static_cast<int>(window.end - window.begin);
    if (whisper_full(m_context.get(), wanted, samples.data() + window.begin, count) != 0)
        throw Failure("The speech engine failed on this recording.", "Dictate again, or choose another model.");
    m_progress.reach(share.end);
    return textOf(m_context.get());
}

} // namespace tallowfern::engines
