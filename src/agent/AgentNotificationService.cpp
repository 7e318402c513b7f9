#include "agent/AgentNotificationService.h"

#include "foundation/Words.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {
const QString kIdentifier = u"tallowfern.command.completed"_s;
}

QString AgentCompletionNotice::body(bool pasted, bool copiedToClipboard, const QString& targetApplicationName)
{
    if (!pasted)
        return copiedToClipboard ? words("Copied to the clipboard — press ⌘V to paste.")
                                 : words("The result is ready in the Command panel.");
    if (targetApplicationName.isEmpty())
        return copiedToClipboard ? words("Pasted and copied to the clipboard.") : words("Pasted.");
    return (copiedToClipboard ? words("Pasted into %1 and copied to the clipboard.") : words("Pasted into %1."))
        .arg(targetApplicationName);
}

AgentNotificationService::AgentNotificationService(NotificationCenter& center, std::function<void()> onClick)
    : m_center(center)
{
    m_center.onClick = [onClick = std::move(onClick)](const QString& identifier) {
        if (identifier == kIdentifier)
            onClick();
    };
}

void AgentNotificationService::postCompletion(bool pasted, bool copiedToClipboard, const QString& targetApplicationName)
{
    m_center.post({kIdentifier, words("Command finished"),
        AgentCompletionNotice::body(pasted, copiedToClipboard, targetApplicationName)});
}

} // namespace tallowfern
