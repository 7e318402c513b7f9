#pragma once

#include "platform/NotificationCenter.h"

#include <functional>

namespace tallowfern {

namespace AgentCompletionNotice {
/// What became of a result, in a sentence. The name counts only for one that was pasted; it may be empty.
QString body(bool pasted, bool copiedToClipboard, const QString& targetApplicationName);
} // namespace AgentCompletionNotice

/// One notice that says that a Command has finished; a newer one replaces it. Main thread.
class AgentNotificationService {
public:
    /// `onClick` is called when the user clicks the notice.
    AgentNotificationService(NotificationCenter& center, std::function<void()> onClick);

    void postCompletion(bool pasted, bool copiedToClipboard, const QString& targetApplicationName);

private:
    NotificationCenter& m_center;
};

} // namespace tallowfern
