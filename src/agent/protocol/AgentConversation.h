#pragma once

#include "foundation/EnumStrings.h"
#include "foundation/Json.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

namespace tallowfern {

enum class AgentAttachmentKind { SelectedText, Screenshot };
inline constexpr auto enumStrings(AgentAttachmentKind)
{
    using E = AgentAttachmentKind;
    return std::array{EnumString{E::SelectedText, "selectedText"}, EnumString{E::Screenshot, "screenshot"}};
}

enum class AgentMessageRole { User, Assistant };
inline constexpr auto enumStrings(AgentMessageRole)
{
    using E = AgentMessageRole;
    return std::array{EnumString{E::User, "user"}, EnumString{E::Assistant, "assistant"}};
}

/// Reference material of a turn. Never changed once made.
struct AgentContextAttachment {
    QUuid id;
    AgentAttachmentKind kind = AgentAttachmentKind::SelectedText;
    QString displayName; ///< as shown to the user
    std::optional<QString> text; ///< of a selected text
    std::optional<QString> filePath; ///< absolute, of a screenshot
    QDateTime createdAt;

    bool operator==(const AgentContextAttachment&) const = default;
    static constexpr auto jsonFields()
    {
        using S = AgentContextAttachment;
        return std::tuple{json::required("id", &S::id), json::required("kind", &S::kind),
            json::required("displayName", &S::displayName), json::tolerated("text", &S::text),
            json::tolerated("filePath", &S::filePath), json::required("createdAt", &S::createdAt)};
    }
};

struct AgentMessage {
    QUuid id;
    AgentMessageRole role = AgentMessageRole::User;
    QString text;
    QDateTime createdAt;
    QList<AgentContextAttachment> attachments;

    bool operator==(const AgentMessage&) const = default;
    static constexpr auto jsonFields()
    {
        using S = AgentMessage;
        return std::tuple{json::required("id", &S::id), json::required("role", &S::role),
            json::required("text", &S::text), json::required("createdAt", &S::createdAt),
            json::required("attachments", &S::attachments)};
    }
};

struct AgentConversation {
    QUuid id;
    QString title;
    QDateTime createdAt;
    QDateTime updatedAt; ///< changes with each message
    QString targetApplicationName; ///< of the application for which the text is meant
    QList<AgentMessage> messages; ///< in order of arrival
    std::optional<QString> lastPastedText; ///< what stands in the target, as far as we know

    bool operator==(const AgentConversation&) const = default;
    static constexpr auto jsonFields()
    {
        using S = AgentConversation;
        return std::tuple{json::required("id", &S::id), json::required("title", &S::title),
            json::required("createdAt", &S::createdAt), json::required("updatedAt", &S::updatedAt),
            json::required("targetApplicationName", &S::targetApplicationName),
            json::required("messages", &S::messages), json::tolerated("lastPastedText", &S::lastPastedText)};
    }
};

} // namespace tallowfern
