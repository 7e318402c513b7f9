#pragma once

#include "agent/AgentContextCaptureService.h"
#include "agent/AgentSettings.h"

namespace tallowfern {

struct AgentDeliveryResult {
    bool pasted = false; ///< the chord went to the target
    bool replaced = false; ///< pasted over what an earlier turn had pasted
    bool needsManualPaste = false; ///< the text is on the clipboard, and the user must paste it

    bool operator==(const AgentDeliveryResult&) const = default;
};

/// Puts a finished text where the user wants it. What an earlier turn pasted is replaced only when it is proven to
/// stand where it was pasted; otherwise the text goes to the clipboard and the target is left alone. Main thread.
class AgentPasteCoordinator {
public:
    AgentPasteCoordinator(AgentContextCaptureService& contextCapture, TextDelivery& textDelivery,
        Pasteboard& pasteboard, ClipboardRestorer& restorer);

    /// Of the last delivery, with the range where its text stands; nothing before the first.
    const std::optional<AgentTargetSnapshot>& lastTarget() const { return m_lastTarget; }

    /// `replacing` is what an earlier turn has pasted into the target; nothing on a first turn. One at a time.
    QCoro::Task<AgentDeliveryResult> deliver(
        QString text, AgentSettings settings, AgentTargetSnapshot target, std::optional<QString> replacing);

private:
    QCoro::Task<bool> paste(QString text, std::optional<RunningApplication> application, bool keepsText);

    AgentContextCaptureService& m_contextCapture;
    TextDelivery& m_textDelivery;
    Pasteboard& m_pasteboard;
    ClipboardRestorer& m_restorer;
    std::optional<AgentTargetSnapshot> m_lastTarget;
    Lifetime m_lifetime;
};

} // namespace tallowfern
