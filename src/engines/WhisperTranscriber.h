#pragma once

#include "engines/Arguments.h"
#include "engines/ModelFile.h"
#include "engines/Progress.h"

#include <memory>
#include <string>
#include <vector>

struct whisper_context;
struct whisper_full_params;

namespace tallowfern {

/// Speech to text with a whisper model.
class WhisperTranscriber {
public:
    /// Loads the model; `arguments` and `progress` must outlive this object. Throws EngineFailure.
    WhisperTranscriber(ModelFile& model, const Arguments& arguments, Progress& progress);
    ~WhisperTranscriber();
    WhisperTranscriber(const WhisperTranscriber&) = delete;
    WhisperTranscriber& operator=(const WhisperTranscriber&) = delete;

    /// The text of at most 30 s of sound, as the model spells it (it begins with a blank). Throws EngineFailure.
    std::string transcribe(const std::vector<float>& window);

private:
    struct Hearing {
        std::string text;
        bool isDoubtful = false;
    };

    Hearing hear(const std::vector<float>& window, int audioContext);
    whisper_full_params parameters();
    bool isUnsure() const;

    const Arguments& m_arguments;
    Progress& m_progress;
    std::string m_language;
    std::string m_prompt;
    std::unique_ptr<whisper_context, void (*)(whisper_context*)> m_context;
    double m_expectedTokens = 1;
    int m_decodedTokens = 0;
};

} // namespace tallowfern
