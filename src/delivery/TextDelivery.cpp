#include "delivery/TextDelivery.h"

#include "foundation/SignalWait.h"

namespace tallowfern {

namespace {
constexpr double kActivationDeadline = 0.5; // seconds, as the two below
constexpr double kFocusSettles = 0.075;
constexpr double kTargetReads = 0.15; // before anything else may happen to the clipboard
} // namespace

TextDelivery::TextDelivery(Workspace& workspace, KeyPoster& keyPoster, Clock& clock)
    : m_workspace(workspace)
    , m_keyPoster(keyPoster)
    , m_clock(clock)
{
}

QCoro::Task<bool> TextDelivery::paste(std::optional<RunningApplication> application)
{
    const std::stop_token ended = m_lifetime.token();
    if (!m_keyPoster.canPost())
        co_return false;
    const bool inFront = co_await activate(application);
    if (!inFront || ended.stop_requested())
        co_return false;
    co_await m_clock.sleep(kFocusSettles);
    if (ended.stop_requested())
        co_return false;
    const bool posted = co_await m_keyPoster.paste(*application);
    if (!posted || ended.stop_requested())
        co_return posted;
    co_await m_clock.sleep(kTargetReads);
    co_return true;
}

QCoro::Task<bool> TextDelivery::activate(std::optional<RunningApplication> application)
{
    const std::stop_token ended = m_lifetime.token();
    if (!application || m_workspace.isTerminated(*application))
        co_return false;
    if (m_workspace.frontmostApplication() == application)
        co_return true;
    const double deadline = m_clock.now() + kActivationDeadline;
    m_workspace.activate(*application);
    while (m_workspace.frontmostApplication() != application) {
        const double left = deadline - m_clock.now();
        if (left <= 0 || m_workspace.isTerminated(*application))
            co_return false;
        co_await sleepUntilSignal(m_clock, left, &m_workspace, &Workspace::frontmostChanged);
        if (ended.stop_requested())
            co_return false;
    }
    co_return true;
}

} // namespace tallowfern
