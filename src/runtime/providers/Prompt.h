#pragma once

#include "agent/protocol/AgentConversation.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace tallowfern {

/// A picture that stands before the text of its message.
struct PromptImage {
    QString filePath;
    bool mustExist = false; ///< a picture of this turn; one of an earlier turn may be gone
    QByteArray mimeType; ///< with the next: empty until the file was read
    QByteArray base64;

    bool operator==(const PromptImage&) const = default;
};

struct PromptMessage {
    AgentMessageRole role = AgentMessageRole::User;
    QString text;
    QList<PromptImage> images;

    bool operator==(const PromptMessage&) const = default;
};

/// Everything that a model is told, in no service's own form. Roles alternate, and the newest message is the user's.
struct Prompt {
    QString system; ///< empty: the model gets no system message at all
    QList<PromptMessage> messages;

    bool operator==(const Prompt&) const = default;
};

} // namespace tallowfern
