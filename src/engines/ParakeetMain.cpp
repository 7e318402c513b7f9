#include "engines/Arguments.h"
#include "engines/EngineProcess.h"
#include "engines/ModelFile.h"
#include "engines/ParakeetTranscriber.h"
#include "engines/PauseShortener.h"
#include "engines/Progress.h"
#include "engines/SilenceCutter.h"
#include "engines/WavFile.h"

namespace tallowfern {

namespace {

constexpr double kLongestWindowSeconds = 28; // the library takes memory for the whole of a long one at once

std::string transcribe(const std::vector<std::string>& words)
{
    const auto arguments = parakeetArguments(words);
    const auto samples = withShortPauses(readWavFile(arguments.recordingPath));
    Progress progress(nullptr); // this engine's command line has no switch for it
    ModelFile model(arguments.modelPath, Engine::Parakeet, progress);
    ParakeetTranscriber transcriber(model, arguments.threads);
    std::string text;
    if (isSilent(samples))
        return text;
    for (const auto& window : cutAtSilences(samples, kLongestWindowSeconds)) {
        const auto part = transcriber.transcribe(window.of(samples));
        if (!text.empty() && !part.empty() && !part.starts_with(' '))
            text += ' ';
        text += part;
    }
    return text;
}

} // namespace

} // namespace tallowfern

int main(int count, char** words)
{
    return tallowfern::runEngine(count, words, tallowfern::transcribe);
}
