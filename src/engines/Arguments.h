#pragma once

#include <string>
#include <vector>

namespace tallowfern {

/// What an engine program was asked to do. Unset strings are empty.
struct Arguments {
    std::string modelPath;
    std::string recordingPath;
    std::string language = "en"; ///< a language code, or "auto"
    std::string prompt;
    int threads = 2; ///< at least 1, at most the processors that this process may use
    bool printsProgress = false;
    bool suppressesNonSpeech = false;
};

/// Both read the arguments after the program's name and throw EngineFailure for a flag that they do not know, a flag
/// without its value, a value that makes no sense, or when the model or the recording is not named.
Arguments whisperArguments(const std::vector<std::string>& words);
Arguments parakeetArguments(const std::vector<std::string>& words);

} // namespace tallowfern
