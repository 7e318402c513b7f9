#include "engines/Arguments.h"
#include "engines/EngineProcess.h"
#include "engines/ModelFile.h"
#include "engines/PauseShortener.h"
#include "engines/Progress.h"
#include "engines/SilenceCutter.h"
#include "engines/WavFile.h"
#include "engines/WhisperTranscriber.h"

namespace tallowfern {

namespace {

constexpr double kLongestWindowSeconds = 28; // the model hears 30

std::string transcribe(const std::vector<std::string>& words)
{
    const auto arguments = whisperArguments(words);
    const auto samples = withShortPauses(readWavFile(arguments.recordingPath));
    Progress progress(arguments.printsProgress ? stderr : nullptr);
    ModelFile model(arguments.modelPath, Engine::Whisper, progress);
    WhisperTranscriber transcriber(model, arguments, progress);
    std::string text;
    if (!isSilent(samples)) {
        const auto share
            = [&](std::size_t at) { return static_cast<double>(at) / static_cast<double>(samples.size()); };
        for (const auto& window : cutAtSilences(samples, kLongestWindowSeconds)) {
            progress.beginWindow(share(window.begin), share(window.end));
            text += transcriber.transcribe(window.of(samples));
        }
    }
    progress.finished();
    return text;
}

} // namespace

} // namespace tallowfern

int main(int count, char** words)
{
    return tallowfern::runEngine(count, words, tallowfern::transcribe);
}
