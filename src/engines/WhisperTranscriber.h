#pragma once

#include "engines/Arguments.h"
#include "engines/ModelFile.h"
#include "engines/Progress.h"

#include <atomic>
#include <span>
#include <string>

struct whisper_context;
struct whisper_full_params;

namespace tallowfern {

/// Speech to text with a whisper model.
class WhisperTranscriber {
public:
    /// Loads the model; `arguments` and `progress` must outlive this object. Throws EngineFailure.
    WhisperTranscriber(ModelFile& model, const Arguments& arguments, Progress& progress);

    /// The text of at most 30 s of sound, as the model spells it (it begins with a blank). Throws EngineFailure.
    std::string transcribe(std::span<const float> window);

private:
    struct Hearing {
        std::string text;
        bool isDoubtful = false;
    };

    static whisper_context* load(ModelFile& model);
    Hearing hear(std::span<const float> window, int audioContext);
    whisper_full_params parameters();
    void tokenDecoded(int tokens);
    bool isUnsure() const;

    const Arguments& m_arguments;
    Progress& m_progress;
    std::string m_language;
    std::string m_prompt;
    whisper_context* m_context; // the process ends with it; to free it first would take 30 ms
    bool m_hasHeard = false;
    double m_expectedTokens = 1;
    std::atomic<int> m_decodedTokens = 0; // the decoder's threads count in it
};

} // namespace tallowfern
