#include "platform/linux/accessibility/AtspiAccessibility.h"

#include "platform/linux/accessibility/AtspiFocus.h"
#include "platform/linux/accessibility/AtspiSelect.h"
#include "platform/linux/accessibility/AtspiText.h"
#include "platform/linux/accessibility/Within.h"

#include <QCoroDBusPendingCall>
#include <QDBusConnection>
#include <QDBusPendingCall>

#include <memory>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QString kConnection = u"tallowfern-a11y"_s; // "a11y" is the one that Qt itself makes
const QString kLauncher = u"org.a11y.Bus"_s;
constexpr double kReadSeconds = 0.2;
constexpr double kSelectSeconds = 0.8;
constexpr double kRestartSeconds = 1;

QCoro::Task<bool> endOf(Completion<bool> completion)
{
    const bool value = co_await completion;
    co_return value;
}

AtspiText textOf(const AccessibleElement& element)
{
    return {QDBusConnection(kConnection), element};
}

} // namespace

AtspiAccessibility::AtspiAccessibility(Clock& clock, std::function<qint64()> frontmostProcess)
    : m_clock(clock)
    , m_frontmostProcess(std::move(frontmostProcess))
    , m_launcherWatcher(kLauncher, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForRegistration)
{
    connect(&m_launcherWatcher, &QDBusServiceWatcher::serviceRegistered, this,
        [this] { connectToBus(0, m_lifetime.token()); });
    connectToBus(0, m_lifetime.token());
}

AtspiAccessibility::~AtspiAccessibility()
{
    close();
}

/// The call starts the bus where it is installed; where it is not, its arrival is told by the session bus.
QCoro::Task<> AtspiAccessibility::connectToBus(double delay, std::stop_token stop)
{
    co_await m_clock.sleep(delay, stop);
    if (stop.stop_requested())
        co_return;
    const QDBusMessage question
        = QDBusMessage::createMethodCall(kLauncher, u"/org/a11y/bus"_s, kLauncher, u"GetAddress"_s);
    const QDBusPendingCall asked = QDBusConnection::sessionBus().asyncCall(question);
    const QDBusMessage answer = co_await asked;
    if (stop.stop_requested() || m_focus)
        co_return;
    if (answer.type() == QDBusMessage::ReplyMessage)
        open(answer.arguments().value(0).toString());
}

void AtspiAccessibility::open(const QString& address)
{
    QDBusConnection bus = QDBusConnection::connectToBus(address, kConnection);
    if (!bus.isConnected()) {
        QDBusConnection::disconnectFromBus(kConnection);
        return;
    }
    bus.connect(QString(), u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s, u"Disconnected"_s, this,
        SLOT(onDisconnected()));
    m_focus = std::make_unique<AtspiFocus>(bus);
}

void AtspiAccessibility::close()
{
    m_focus.reset();
    QDBusConnection::disconnectFromBus(kConnection);
}

void AtspiAccessibility::onDisconnected()
{
    close();
    connectToBus(kRestartSeconds, m_lifetime.token());
}

std::optional<AccessibleElement> AtspiAccessibility::focusedElement() const
{
    if (!m_focus)
        return std::nullopt;
    const qint64 process = m_frontmostProcess();
    auto element = m_focus->focusedIn(process);
    if (!element && process != 0)
        m_focus->seekIn(process); // for the next time; asking never waits
    return element;
}

QCoro::Task<std::optional<AccessibleElement>> AtspiAccessibility::findFocusedElement()
{
    const std::stop_token stop = m_lifetime.token();
    const auto known = focusedElement();
    const qint64 process = m_frontmostProcess();
    if (known || !m_focus || process == 0)
        co_return known;
    auto search = endOf(m_focus->seekIn(process));
    co_await within(kReadSeconds, m_clock, std::move(search));
    if (stop.stop_requested())
        co_return std::nullopt;
    co_return m_focus ? m_focus->focusedIn(process) : std::nullopt;
}

bool AtspiAccessibility::hasFocus(const AccessibleElement& element) const
{
    return m_focus && m_focus->focusedIn(element.processIdentifier) == element;
}

QCoro::Task<std::optional<ElementSelection>> AtspiAccessibility::selection(AccessibleElement element)
{
    auto work = readSelection(textOf(element));
    return within(kReadSeconds, m_clock, std::move(work));
}

QCoro::Task<std::optional<QString>> AtspiAccessibility::value(AccessibleElement element)
{
    auto work = readValue(textOf(element));
    return within(kReadSeconds, m_clock, std::move(work));
}

QCoro::Task<bool> AtspiAccessibility::select(AccessibleElement element, TextRange range, QString expected)
{
    const std::stop_token stop = m_lifetime.token();
    if (!hasFocus(element))
        co_return false;
    std::stop_source inTime;
    const std::stop_callback orphaned(stop, [inTime]() mutable { inTime.request_stop(); });
    auto work = selectRange(textOf(element), range, expected, m_clock, inTime.get_token());
    const bool selected = co_await within(kSelectSeconds, m_clock, std::move(work));
    inTime.request_stop();
    co_return selected && !stop.stop_requested() && hasFocus(element);
}

} // namespace tallowfern
