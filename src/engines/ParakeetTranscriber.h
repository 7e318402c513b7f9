#pragma once

#include "engines/ModelFile.h"

#include <span>
#include <string>

struct parakeet_context;

namespace tallowfern {

/// Speech to text with a parakeet model.
class ParakeetTranscriber {
public:
    /// Loads the model. Throws EngineFailure.
    ParakeetTranscriber(ModelFile& model, int threads);

    /// The text of a window of sound. Throws EngineFailure.
    std::string transcribe(std::span<const float> window);

private:
    static parakeet_context* load(ModelFile& model);

    parakeet_context* m_context; // the process ends with it; to free it first would take 30 ms
    int m_threads;
};

} // namespace tallowfern
