#pragma once

#include "engines/ModelFile.h"

#include <memory>
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
    struct Free {
        void operator()(parakeet_context* context) const;
    };

    static std::unique_ptr<parakeet_context, Free> load(ModelFile& model);

    std::unique_ptr<parakeet_context, Free> m_context;
    int m_threads;
};

} // namespace tallowfern
