#include "agent/AgentPasteCoordinator.h"

namespace tallowfern {

namespace {
constexpr double kTargetHasRead = 1; // seconds after the chord, for slow applications
}

AgentPasteCoordinator::AgentPasteCoordinator(AgentContextCaptureService& contextCapture, TextDelivery& textDelivery,
    Pasteboard& pasteboard, ClipboardRestorer& restorer)
    : m_contextCapture(contextCapture)
    , m_textDelivery(textDelivery)
    , m_pasteboard(pasteboard)
    , m_restorer(restorer)
{
}

QCoro::Task<AgentDeliveryResult> AgentPasteCoordinator::deliver(
    QString text, AgentSettings settings, AgentTargetSnapshot target, std::optional<QString> replacing)
{
    const std::stop_token ended = m_lifetime.token();
    if (replacing) {
        bool proven = settings.safelyReplaceRefinements;
        if (proven)
            proven = co_await m_contextCapture.exactText(*replacing, target);
        if (ended.stop_requested())
            co_return {};
        if (proven)
            proven = co_await m_contextCapture.selectStoredRange(target, *replacing);
        if (ended.stop_requested())
            co_return {};
        if (!proven) {
            m_pasteboard.replaceText(text);
            co_return {.needsManualPaste = true};
        }
    }
    if (!settings.automaticPaste) {
        if (settings.copyResult)
            m_pasteboard.replaceText(text);
        m_lastTarget = target;
        co_return {};
    }
    if (!replacing) { // the cursor may have moved since; where the text lands is what a refinement has to know
        target = co_await m_contextCapture.refreshed(target);
        if (ended.stop_requested())
            co_return {};
    }
    const bool pasted = co_await paste(text, target.application, settings.copyResult);
    if (ended.stop_requested())
        co_return {};
    if (pasted && target.selectedRange)
        target.selectedRange->length = text.size();
    m_lastTarget = target;
    co_return {pasted, pasted && replacing.has_value(), !pasted};
}

/// By the clipboard, which keeps the text when nothing could be pasted, or when it is meant to.
QCoro::Task<bool> AgentPasteCoordinator::paste(
    QString text, std::optional<RunningApplication> application, bool keepsText)
{
    const std::stop_token ended = m_lifetime.token();
    PasteboardSnapshot snapshot = PasteboardSnapshot::unread();
    if (!keepsText) {
        snapshot = co_await m_restorer.takeSnapshot();
        if (ended.stop_requested())
            co_return false;
    }
    m_pasteboard.replaceText(text);
    const qint64 delivered = m_pasteboard.changeCount();
    const bool pasted = co_await m_textDelivery.paste(application);
    if (ended.stop_requested())
        co_return pasted;
    if (pasted && !keepsText)
        m_restorer.scheduleRestore(std::move(snapshot), delivered, kTargetHasRead);
    if (!pasted && m_pasteboard.changeCount() != delivered)
        m_pasteboard.replaceText(text); // another program's copy is what kept us from pasting
    co_return pasted;
}

} // namespace tallowfern
