#pragma once

#include "agent/protocol/AgentRuntimeRequest.h"
#include "runtime/SessionStore.h"
#include "runtime/providers/Prompt.h"

namespace tallowfern {

/// What was asked, and what was answered if anything was.
struct Exchange {
    SessionMessage asked;
    std::optional<QString> answered;
};

/// A conversation's messages by exchanges, the oldest first.
QList<Exchange> exchanges(const QList<SessionMessage>& messages);

/// What the model is told: the standing instructions, the exchanges, and the request last.
Prompt promptFor(const AgentRuntimeRequest& request, const QList<Exchange>& earlier);

/// How many of the oldest exchanges have to go, so that three quarters of the context hold the rest. The request itself
/// always stays.
qsizetype exchangesToDrop(const AgentRuntimeRequest& request, const QList<Exchange>& earlier, qint64 contextTokens);

/// The answer without a fence of ours around the whole of it, which some models repeat, and without white space at
/// both ends: a closing newline would run a command in a terminal.
QString finalText(const QString& answer, const AgentRuntimeRequest& request);

} // namespace tallowfern
