#pragma once

#include "agent/protocol/AgentModelDescriptor.h"

#include <QList>

namespace tallowfern {

/// The writing models that come with the application, in the order in which they are shown. The addresses of their
/// files begin with "/", below the address of the model hub.
const QList<AgentModelDescriptor>& agentModelCatalog();

/// 1 to 5; 3 for a model that is not in the catalogue.
int speedRating(const AgentModelDescriptor& model);
/// 1 to 5; 3 for a model that is not in the catalogue.
int qualityRating(const AgentModelDescriptor& model);

} // namespace tallowfern
