#include "agent/AgentContextCaptureService.h"

#include "agent/protocol/AgentRuntimeError.h"
#include "foundation/Files.h"
#include "foundation/InBackground.h"
#include "foundation/SignalWait.h"
#include "foundation/Words.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr double kCopyDeadline = 0.6; // seconds

AgentContextAttachment attachment(AgentAttachmentKind kind, const QString& name, const QDateTime& now)
{
    AgentContextAttachment made;
    made.id = QUuid::createUuid();
    made.kind = kind;
    made.displayName = name;
    made.createdAt = now;
    return made;
}

} // namespace

bool AgentTextRangeVerifier::matches(const QString& expected, const QString& value, TextRange range)
{
    return range.location >= 0 && range.length == expected.size() && range.location <= value.size() - range.length
        && QStringView(value).sliced(range.location, range.length) == expected;
}

AgentContextCaptureService::AgentContextCaptureService(Collaborators collaborators)
    : m_with(std::move(collaborators))
{
}

QCoro::Task<AgentInvocationContext> AgentContextCaptureService::capture(
    bool includeSelectedText, bool includeScreenshot)
{
    const std::stop_token ended = m_lifetime.token();
    AgentInvocationContext context;
    context.target = captureTarget(m_with.workspace, m_with.accessibility);
    if (context.target.application && !context.target.focusedElement) {
        const auto found = co_await m_with.accessibility.findFocusedElement();
        if (ended.stop_requested())
            co_return context;
        if (found && found->processIdentifier == context.target.application->processIdentifier)
            context.target.focusedElement = found;
    }
    std::optional<QString> selected;
    if (context.target.focusedElement) {
        const AccessibleElement element = *context.target.focusedElement;
        const std::optional<ElementSelection> selection = co_await m_with.accessibility.selection(element);
        if (ended.stop_requested())
            co_return context;
        if (selection) {
            context.target.selectedRange = selection->range;
            selected = selection->text;
        }
    }
    const bool isTold = selected && !selected->isEmpty();
    if (includeSelectedText && !isTold && context.target.application) {
        selected = co_await copiedText(*context.target.application);
        if (ended.stop_requested())
            co_return context;
    }
    if (includeSelectedText && selected && !selected->trimmed().isEmpty()) {
        context.attachments.append(
            attachment(AgentAttachmentKind::SelectedText, words("Selected text"), m_with.clock.wallNow()));
        context.attachments.last().text = *selected;
    }
    if (includeScreenshot) {
        AgentContextAttachment picture
            = co_await captureWindowScreenshot(context.target.application, context.target.applicationName);
        context.attachments.append(picture);
    }
    co_return context;
}

/// By the way that every application knows: have it copy, and give the clipboard back.
QCoro::Task<std::optional<QString>> AgentContextCaptureService::copiedText(RunningApplication application)
{
    const std::stop_token ended = m_lifetime.token();
    if (!m_with.keyPoster.canPost())
        co_return std::nullopt;
    const bool inFront = co_await m_with.textDelivery.activate(application);
    if (ended.stop_requested() || !inFront)
        co_return std::nullopt;
    m_with.restorer.restoreNow(); // a Dictation may have left its words there for a while
    const PasteboardSnapshot snapshot = co_await m_with.restorer.takeSnapshot();
    if (ended.stop_requested())
        co_return std::nullopt;
    // Not emptied first, as a clipboard keeper would fill it again: whose content it is tells what is new.
    const qint64 before = m_with.pasteboard.changeCount();
    const bool posted = co_await m_with.keyPoster.copy(application);
    if (ended.stop_requested())
        co_return std::nullopt;
    std::optional<QString> text;
    if (posted)
        text = co_await awaitCopy(application, before);
    else if (m_with.workspace.frontmostApplication() == application)
        text = co_await m_with.pasteboard.readSelectedText(application);
    if (!ended.stop_requested() && m_with.pasteboard.changeCount() != before)
        snapshot.restore(m_with.pasteboard);
    co_return text;
}

QCoro::Task<std::optional<QString>> AgentContextCaptureService::awaitCopy(
    RunningApplication application, qint64 countBefore)
{
    const std::stop_token ended = m_lifetime.token();
    const double deadline = m_with.clock.now() + kCopyDeadline;
    qint64 seen = countBefore;
    while (m_with.clock.now() < deadline) {
        const double left = deadline - m_with.clock.now();
        if (m_with.pasteboard.changeCount() == seen)
            co_await sleepUntilSignal(m_with.clock, left, &m_with.pasteboard, &Pasteboard::changed);
        if (ended.stop_requested())
            co_return std::nullopt;
        if (m_with.pasteboard.changeCount() == seen)
            continue;
        seen = m_with.pasteboard.changeCount();
        const std::optional<QString> text = co_await m_with.pasteboard.readText(application);
        if (ended.stop_requested() || text)
            co_return text;
    }
    co_return std::nullopt;
}

QCoro::Task<AgentContextAttachment> AgentContextCaptureService::captureWindowScreenshot(
    std::optional<RunningApplication> application, QString applicationName)
{
    const AgentRuntimeError denied(AgentRuntimeError::Cause::ScreenRecordingDenied);
    const std::stop_token ended = m_lifetime.token();
    if (!m_with.screenCapture.preflight()) {
        m_with.screenCapture.request();
        throw denied;
    }
    if (!application)
        throw denied;
    const std::optional<QByteArray> png = co_await m_with.screenCapture.captureWindow(*application);
    if (ended.stop_requested() || !png)
        throw denied;
    const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + u".png"_s;
    const QString path = m_with.pendingFolder + u'/' + name;
    const auto write = [folder = m_with.pendingFolder, path, bytes = *png] {
        makePrivateFolder(folder);
        writeFileAtomically(path, {bytes});
        return true;
    };
    const auto writing = inBackground(m_files, write);
    co_await writing;
    if (ended.stop_requested())
        throw denied;
    AgentContextAttachment picture = attachment(AgentAttachmentKind::Screenshot,
        applicationName.isEmpty() ? words("Application window") : words("%1 window").arg(applicationName),
        m_with.clock.wallNow());
    picture.filePath = path;
    co_return picture;
}

QCoro::Task<AgentTargetSnapshot> AgentContextCaptureService::refreshed(AgentTargetSnapshot target)
{
    if (!target.focusedElement)
        co_return target;
    const AccessibleElement element = *target.focusedElement;
    const std::optional<ElementSelection> selection = co_await m_with.accessibility.selection(element);
    if (selection)
        target.selectedRange = selection->range;
    co_return target;
}

QCoro::Task<bool> AgentContextCaptureService::exactText(QString text, AgentTargetSnapshot target)
{
    if (!target.focusedElement || !target.selectedRange || target.selectedRange->length != text.size())
        co_return false;
    const AccessibleElement element = *target.focusedElement;
    const std::optional<QString> value = co_await m_with.accessibility.value(element);
    co_return value&& AgentTextRangeVerifier::matches(text, *value, *target.selectedRange);
}

QCoro::Task<bool> AgentContextCaptureService::selectStoredRange(AgentTargetSnapshot target, QString text)
{
    const std::stop_token ended = m_lifetime.token();
    if (!target.focusedElement || !target.selectedRange)
        co_return false;
    const bool inFront = co_await m_with.textDelivery.activate(target.application);
    if (ended.stop_requested() || !inFront)
        co_return false;
    const AccessibleElement element = *target.focusedElement;
    const bool selected = co_await m_with.accessibility.select(element, *target.selectedRange, text);
    co_return selected;
}

} // namespace tallowfern
