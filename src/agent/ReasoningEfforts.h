#pragma once

#include "agent/AgentSettings.h"
#include "agent/protocol/AgentTypes.h"

#include <QList>
#include <QString>

namespace tallowfern {

/// What the user may choose for the provider, in the order in which it is shown. Nothing for models on this computer.
const QList<AgentReasoningEffort>& reasoningEfforts(AgentWritingProvider provider);

QString label(AgentReasoningEffort effort);
/// The line that explains it.
QString detail(AgentReasoningEffort effort, AgentWritingProvider provider);

/// Automatic for models on this computer.
AgentReasoningEffort reasoningEffort(const AgentSettings& settings, AgentWritingProvider provider);
/// Changes nothing when the provider does not offer the effort.
void setReasoningEffort(AgentSettings& settings, AgentWritingProvider provider, AgentReasoningEffort effort);

} // namespace tallowfern
