#pragma once

#include "agent/protocol/AgentConversation.h"
#include "delivery/ClipboardRestorer.h"
#include "delivery/TargetCapture.h"
#include "delivery/TextDelivery.h"
#include "foundation/BackgroundQueue.h"
#include "platform/ScreenCapture.h"
#include "system/AppPaths.h"

#include <QCoroTask>

namespace tallowfern {

/// Where the user was when a Command began, and what goes along with it.
struct AgentInvocationContext {
    AgentTargetSnapshot target;
    QList<AgentContextAttachment> attachments;
};

/// Looks at the application that the user came from, and proves what stands there. Main thread.
class AgentContextCaptureService {
public:
    struct Collaborators {
        Workspace& workspace;
        Accessibility& accessibility;
        Pasteboard& pasteboard;
        KeyPoster& keyPoster;
        ScreenCapture& screenCapture;
        TextDelivery& textDelivery;
        ClipboardRestorer& restorer;
        Clock& clock;
        QString pendingFolder; ///< for pictures whose turn is not stored yet
    };
    explicit AgentContextCaptureService(Collaborators collaborators);

    /// The target as it is when called; its selected text takes 0.8 seconds more at most, and has the clipboard back
    /// as it was. Throws a LocalizedError when a picture was asked for and none could be had.
    QCoro::Task<AgentInvocationContext> capture(bool includeSelectedText, bool includeScreenshot);

    /// The target with what is selected in it by now, as far as it tells.
    QCoro::Task<AgentTargetSnapshot> refreshed(AgentTargetSnapshot target);
    /// Whether just `text` stands where the target's range was, in an element that still tells.
    QCoro::Task<bool> exactText(QString text, AgentTargetSnapshot target);
    /// Brings the target to front and selects its range there. True only if the application says that `text` is
    /// selected now.
    QCoro::Task<bool> selectStoredRange(AgentTargetSnapshot target, QString text);

private:
    QCoro::Task<std::optional<QString>> copiedText(RunningApplication application);
    QCoro::Task<std::optional<QString>> awaitCopy(RunningApplication application, qint64 countBefore);
    QCoro::Task<AgentContextAttachment> captureWindowScreenshot(
        std::optional<RunningApplication> application, QString applicationName);

    Collaborators m_with;
    BackgroundQueue m_files;
    Lifetime m_lifetime;
};

namespace AgentTextRangeVerifier {
/// Whether the range lies within the value and just `expected` stands in it. UTF-16 units on both sides.
bool matches(const QString& expected, const QString& value, TextRange range);
} // namespace AgentTextRangeVerifier

} // namespace tallowfern
