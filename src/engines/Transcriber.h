#pragma once

#include "Arguments.h"
#include "ModelFile.h"
#include "SilenceCutter.h"

#include <memory>
#include <string>
#include <vector>

struct whisper_context;
struct whisper_full_params;

namespace tallowfern::engines {

/// Shows on standard error how far the work is, in whole percent that never go back.
class ProgressLines {
public:
    explicit ProgressLines(bool print)
        : m_print(print)
    {
    }
    void reach(double share);

private:
    bool m_print;
    int m_percent = -1;
};

/// A loaded Whisper model and what it hears.
class Transcriber {
public:
    /// Loads the model. Throws Failure.
    explicit Transcriber(const Arguments& arguments);

    /// The words in the recording, with blanks around them trimmed. Throws Failure.
    std::string transcribe(const std::vector<float>& samples);

private:
    struct Share {
        double begin;
        double end;
    };
    struct Free {
        void operator()(whisper_context* context) const;
    };

    std::string transcribeWindow(const std::vector<float>& samples, const Window& window, Share share);
    std::string run(const std::vector<float>& samples, const Window& window, int encoderContext, Share share);

    Arguments m_arguments;
    std::string m_prompt;
    ProgressLines m_progress;
    std::unique_ptr<whisper_context, Free> m_context;
};

} // namespace tallowfern::engines
