#pragma once

#include "agent/protocol/AgentModelDescriptor.h"
#include "agent/protocol/AgentTypes.h"
#include "foundation/Secret.h"
#include "runtime/providers/Prompt.h"

#include <QUrl>

namespace tallowfern {

/// One answer asked of a service.
struct AnswerRequest {
    AgentModelDescriptor model;
    AgentReasoningEffort effort = AgentReasoningEffort::Automatic;
    Secret key; ///< the user's for a cloud service, our own for a local server
    QUrl localServer; ///< http://127.0.0.1:PORT, for models that run on this computer
    Prompt prompt; ///< pictures are read
};

} // namespace tallowfern
