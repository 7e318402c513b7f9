#pragma once

#include "foundation/Clock.h"
#include "platform/ProcessLauncher.h"

#include <optional>

namespace tallowfern {

/// The operating system's own writing model, found through its bridge program. On Linux the bridge names the smallest
/// model that was downloaded. Main thread.
class SystemModel {
public:
    struct Choice {
        QString name;
        QString modelPath;
    };

    SystemModel(Clock& clock, ProcessLauncher& launcher);

    /// `sessionPath` tells where the application's data is. Throws LocalizedError: no bridge, no model, or stopped.
    QCoro::Task<Choice> choose(
        std::optional<QString> bridgePath, std::optional<QString> sessionPath, std::stop_token stop);

private:
    Clock& m_clock;
    ProcessLauncher& m_launcher;
};

} // namespace tallowfern
