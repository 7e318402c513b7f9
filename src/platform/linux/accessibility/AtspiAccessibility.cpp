#include "platform/linux/accessibility/AtspiAccessibility.h"

#include "foundation/Completion.h"
#include "platform/linux/accessibility/AtspiFocus.h"
#include "platform/linux/accessibility/AtspiText.h"

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
constexpr double kRestartSeconds = 1;

using Answer = Completion<std::optional<TextRange>>;

QCoro::Task<> readInto(Answer answer, AccessibleElement element)
{
    const QDBusConnection bus(kConnection);
    const auto range = co_await readSelectedRange(bus, element);
    answer.complete(range);
}

QCoro::Task<> giveUpAfter(double seconds, Clock& clock, Answer answer, std::stop_token stop)
{
    co_await clock.sleep(seconds, stop);
    answer.complete(std::nullopt);
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
    if (!element)
        m_focus->seekIn(process); // for the next time; asking never waits
    return element;
}

QCoro::Task<std::optional<TextRange>> AtspiAccessibility::selectedTextRange(AccessibleElement element)
{
    if (!m_focus)
        co_return std::nullopt;
    Answer answer;
    std::stop_source read;
    giveUpAfter(kReadSeconds, m_clock, answer, read.get_token());
    readInto(answer, element);
    const std::optional<TextRange> range = co_await answer;
    read.request_stop();
    co_return range;
}

} // namespace tallowfern
