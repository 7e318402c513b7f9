#pragma once

#include "agent/AgentRuntimeService.h"
#include "agent/models/AgentModelStore.h"
#include "core/Preferences.h"

namespace tallowfern {

/// Has the model on this computer take the slips out of a transcript, where the user wants that. Harmless: whatever
/// goes wrong, the words stay as they were said. Main thread.
class SmartCleanup {
public:
    struct Collaborators {
        const Preferences& preferences;
        const AgentModelStore& models;
        AgentRuntimeService& runtime;
        const Clock& clock;
        AgentRuntimeService::FindProgram find;
        QString sessionPath;
    };
    explicit SmartCleanup(Collaborators collaborators);

    /// The text to deliver. Never fails; takes as long as the runtime's own limits allow.
    QCoro::Task<QString> clean(QString transcript);

private:
    std::optional<AgentRuntimeRequest> request(const QString& transcript) const;

    Collaborators m_with;
};

} // namespace tallowfern
