#pragma once

#include "platform/ProcessLauncher.h"
#include "speech/ResourceLocator.h"
#include "speech/SpeechModel.h"

#include <QCoroTask>
#include <QString>
#include <QStringList>

#include <functional>

namespace tallowfern {

/// Threads for an engine on a computer with so many processors: leaves two to the desktop, 2 to 8.
int engineThreadCount(int processorCount);

/// The command line of the engine that `model` needs.
QStringList engineArguments(const SpeechModel& model, const QString& modelPath, const QString& audioPath,
    const QStringList& vocabulary, int threadCount);

/// Turns a finished recording into text by a speech engine, one child process per recording. Main thread.
class WhisperRunner {
public:
    WhisperRunner(ProcessLauncher& launcher, ResourceLocator resources, int processorCount);

    /// The words in the recording, spelled as the vocabulary spells them. `progress` gets fractions from 0.02 to 0.97,
    /// the first before the engine starts. Throws TallowfernError, or SystemError when the engine cannot be started.
    /// Has no time limit and cannot be cancelled: the engine runs to its end, also when the runner is gone.
    QCoro::Task<QString> transcribe(QString audioPath, SpeechModel model, QString modelPath, QStringList vocabulary,
        std::function<void(double)> progress) const;

private:
    ProcessLauncher& m_launcher;
    ResourceLocator m_resources;
    int m_threadCount;
};

} // namespace tallowfern
