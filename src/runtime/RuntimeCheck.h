#pragma once

#include "foundation/Clock.h"
#include "platform/ProcessLauncher.h"
#include "runtime/providers/HttpStream.h"

#include <QCoroTask>

#include <cstdio>

namespace tallowfern {

/// Looks for what the runtime needs, a line for each: the programs beside it, and the way to each service, over which
/// no key goes. Main thread.
class RuntimeCheck {
public:
    RuntimeCheck(Clock& clock, ProcessLauncher& launcher, std::FILE* output);

    /// Whether local models or at least one service can be had. Takes 10 seconds at most for each line.
    QCoro::Task<bool> run(QString serverProgram, QString bridgeProgram);

private:
    QCoro::Task<bool> checkServer(QString program);
    QCoro::Task<bool> checkService(AgentModelProvider provider);
    void print(const QString& name, const QString& finding);

    Clock& m_clock;
    ProcessLauncher& m_launcher;
    std::FILE* m_output;
    HttpStream m_http;
};

} // namespace tallowfern
