#pragma once

#include "platform/ProcessLauncher.h"

namespace tallowfern {

/// Children with nothing of ours but their two output pipes: their input is empty, and no other file is passed on.
/// A launcher may be destroyed before its children.
class LinuxProcessLauncher final : public ProcessLauncher {
public:
    QCoro::Task<std::unique_ptr<ChildProcess>> launch(ProcessRequest request) override;
};

} // namespace tallowfern
