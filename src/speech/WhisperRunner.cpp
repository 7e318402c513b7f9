#include "speech/WhisperRunner.h"

#include "foundation/Completion.h"
#include "foundation/Words.h"
#include "speech/EngineOutput.h"
#include "speech/TallowfernError.h"
#include "speech/Vocabulary.h"

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr double kFirstProgress = 0.02;
constexpr double kLastProgress = 0.97;

/// What one engine has written so far.
class EngineRun {
public:
    void takeOutput(const QByteArray& bytes)
    {
        // Years of speech; a program gone wild fills it in seconds.
        constexpr qsizetype kMostOutput = qsizetype{64} * 1024 * 1024;
        if (m_tooMuch)
            return;
        m_output += bytes;
        if (m_output.size() <= kMostOutput)
            return;
        m_tooMuch = true;
        m_output = {};
        m_ended.complete({}); // the child is ended, and this object with it
    }

    void takeErrorOutput(const QByteArray& bytes) { m_errors.append(bytes); }
    void end(ProcessExit exit) { m_ended.complete(exit); }
    Completion<ProcessExit> ended() const { return m_ended; }

    QString text(const ProcessExit& exit, const QStringList& vocabulary) const
    {
        if (m_tooMuch)
            throw TallowfernError::transcriptionFailed(
                words("The speech engine wrote more than a recording can hold."));
        if (exit.crashed || exit.status != 0)
            throw TallowfernError::transcriptionFailed(m_errors.message());
        const QString text = strictUtf8(m_output).value_or(QString()).trimmed();
        if (text.isEmpty())
            throw TallowfernError(TallowfernError::Cause::EmptyTranscript);
        return normalizeVocabulary(text, vocabulary);
    }

private:
    QByteArray m_output;
    bool m_tooMuch = false;
    ErrorTail m_errors;
    Completion<ProcessExit> m_ended;
};

} // namespace

int engineThreadCount(int processorCount)
{
    return std::clamp(processorCount - 2, 2, 8);
}

QStringList engineArguments(const SpeechModel& model, const QString& modelPath, const QString& audioPath,
    const QStringList& vocabulary, int threadCount)
{
    const QString threads = QString::number(threadCount);
    if (model.engine == SpeechEngine::Parakeet)
        return {u"--model"_s, modelPath, u"--file"_s, audioPath, u"--threads"_s, threads, u"--no-prints"_s};
    QStringList arguments{u"--model"_s, modelPath, u"--file"_s, audioPath, u"--no-timestamps"_s, u"--no-prints"_s,
        u"--print-progress"_s, u"--language"_s, model.isEnglishOnly ? u"en"_s : u"auto"_s, u"--threads"_s, threads,
        u"--suppress-nst"_s};
    if (const QString prompt = vocabularyPrompt(vocabulary); !prompt.isEmpty())
        arguments << u"--prompt"_s << prompt;
    return arguments;
}

WhisperRunner::WhisperRunner(ProcessLauncher& launcher, ResourceLocator resources, int processorCount)
    : m_launcher(launcher)
    , m_resources(std::move(resources))
    , m_threadCount(engineThreadCount(processorCount))
{
}

QCoro::Task<QString> WhisperRunner::transcribe(QString audioPath, SpeechModel model, QString modelPath,
    QStringList vocabulary, std::function<void(double)> progress) const
{
    const bool whisper = model.engine == SpeechEngine::Whisper;
    const auto program = m_resources.file(whisper ? u"whisper-cli"_s : u"parakeet-cli"_s);
    if (!program)
        throw TallowfernError(TallowfernError::Cause::MissingEngine);
    ProcessRequest request;
    request.program = *program;
    request.arguments = engineArguments(model, modelPath, audioPath, vocabulary, m_threadCount);
    progress(kFirstProgress);

    EngineRun run;
    ProgressScanner scanner;
    auto child = co_await m_launcher.launch(request);
    // From here on the runner may be gone: nothing below looks at it.
    child->onOutput = [&](const QByteArray& bytes) { run.takeOutput(bytes); };
    child->onErrorOutput = [&](const QByteArray& bytes) {
        run.takeErrorOutput(bytes);
        if (!whisper)
            return;
        scanner.append(bytes);
        if (const auto percent = scanner.percent())
            progress(std::clamp(*percent / 100, kFirstProgress, kLastProgress));
    };
    child->onExit = [&](ProcessExit exit) { run.end(exit); };
    const ProcessExit exit = co_await run.ended();
    child.reset();
    co_return run.text(exit, vocabulary);
}

} // namespace tallowfern
