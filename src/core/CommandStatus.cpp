#include "core/CommandStatus.h"

namespace tallowfern {

bool CommandStatus::isActive() const
{
    switch (m_values.phase) {
    case AgentPhase::Listening:
    case AgentPhase::Transcribing:
    case AgentPhase::LoadingModel:
    case AgentPhase::Generating:
        return true;
    case AgentPhase::Idle:
    case AgentPhase::Completed:
    case AgentPhase::Cancelled:
    case AgentPhase::Error:
        break;
    }
    return false;
}

} // namespace tallowfern
