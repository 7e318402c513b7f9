#include "ModelFile.h"
#include "Program.h"
#include "SilenceCutter.h"
#include "WavFile.h"

#include "parakeet.h"

#include <memory>

using namespace tallowfern::engines;

namespace {

constexpr double kLongestWindow = 45;      // seconds; beyond 50 the library takes memory without bound
constexpr double kShortestRecording = 0.1; // seconds

struct Free {
    void operator()(parakeet_context* context) const { parakeet_free(context); }
};
using Context = std::unique_ptr<parakeet_context, Free>;

Context load(const Arguments& arguments)
{
    ModelFile file(arguments.model, Engine::Parakeet);
    parakeet_model_loader loader{};
    loader.context = &file;
    loader.read = [](void* context, void* target, size_t size) {
        return static_cast<ModelFile*>(context)->read(target, size);
    };
    loader.eof = [](void* context) { return static_cast<ModelFile*>(context)->atEnd(); };
    loader.close = [](void*) {};
    parakeet_context_params wanted = parakeet_context_default_params();
    wanted.use_gpu = false;
    Context context(parakeet_init_with_params(&loader, wanted));
    if (!context || file.isCutShort())
        throw Failure("The speech model's file is damaged or cut short.", "Download the model again on the Models page.");
    return context;
}

std::string transcribe(const Arguments& arguments)
{
    const std::vector<float> samples = readRecording(arguments.file);
    parakeet_log_set([](ggml_log_level, const char*, void*) {}, nullptr);
    const Context context = load(arguments);
    std::string text;
    if (static_cast<double>(samples.size()) < kShortestRecording * kSampleRate || isDigitalSilence(samples))
        return text;
    for (const Window& window : cutAtSilences(samples, kLongestWindow)) {
        parakeet_full_params wanted = parakeet_full_default_params(PARAKEET_SAMPLING_GREEDY);
        wanted.n_threads = arguments.threads;
        const int count = static_cast<int>(window.end - window.begin);
        if (parakeet_full(context.get(), wanted, samples.data() + window.begin, count) != 0)
            throw Failure("The speech engine failed on this recording.", "Dictate again, or choose another model.");
        for (int i = 0; i < parakeet_full_n_segments(context.get()); ++i) {
            const std::string part = parakeet_full_get_segment_text(context.get(), i);
            const bool apart = !text.empty() && !part.empty() && part.front() != ' ';
            text += (apart ? " " : "") + part;
        }
    }
    return text;
}

} // namespace

int main(int argc, char** argv)
{
    return runProgram(Engine::Parakeet, argc, argv, transcribe);
}
