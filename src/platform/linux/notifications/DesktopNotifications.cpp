#include "platform/linux/notifications/DesktopNotifications.h"

#include "foundation/Words.h"

#include <QCoroDBusPendingCall>

#include <utility>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QString kService = u"org.freedesktop.Notifications"_s;
const QString kPath = u"/org/freedesktop/Notifications"_s;
const QString kApplication = u"com.tallowfern.Tallowfern"_s; ///< its desktop file and its icon
const QString kDefaultAction = u"default"_s; ///< a click on the notice itself
constexpr int kAnswerMilliseconds = 5000; ///< the bus may have to start the service first
constexpr int kUsualExpiry = -1;
constexpr uchar kNormalUrgency = 1; ///< services ignore any type but a byte

} // namespace

DesktopNotifications::DesktopNotifications(const QDBusConnection& bus)
    : m_bus(bus)
    , m_serviceWatcher(kService, bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&m_serviceWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &DesktopNotifications::forget);
    m_bus.connect(
        QString(), kPath, kService, u"ActionInvoked"_s, this, SLOT(actionInvoked(uint, QString, QDBusMessage)));
}

void DesktopNotifications::post(Notice notice)
{
    m_waiting.removeIf([&notice](const Notice& older) { return older.identifier == notice.identifier; });
    m_waiting.append(std::move(notice));
    if (!m_isShowing)
        showAll();
}

QCoro::Task<> DesktopNotifications::showAll()
{
    const std::stop_token ended = m_lifetime.token();
    m_isShowing = true;
    while (!m_waiting.isEmpty()) {
        if (!m_capabilities) {
            const QDBusPendingCall asked = ask(u"GetCapabilities"_s);
            const QDBusMessage answer = co_await asked;
            if (ended.stop_requested())
                co_return;
            if (answer.type() != QDBusMessage::ReplyMessage) {
                m_waiting.clear(); // there is nobody to show them
                break;
            }
            m_capabilities = answer.arguments().value(0).toStringList();
        }
        const Notice notice = m_waiting.takeFirst();
        const QDBusPendingCall shown = show(notice);
        const QDBusMessage answer = co_await shown;
        if (ended.stop_requested())
            co_return;
        if (answer.type() == QDBusMessage::ReplyMessage)
            m_shown.insert(notice.identifier, {answer.arguments().value(0).toUInt(), answer.service()});
    }
    m_isShowing = false;
}

QDBusPendingCall DesktopNotifications::ask(const QString& method, const QVariantList& arguments) const
{
    QDBusMessage question = QDBusMessage::createMethodCall(kService, kPath, kService, method);
    question.setArguments(arguments);
    return m_bus.asyncCall(question, kAnswerMilliseconds);
}

QDBusPendingCall DesktopNotifications::show(const Notice& notice) const
{
    const bool hasMarkup = m_capabilities->contains(u"body-markup"_s);
    const QString body = hasMarkup ? notice.body.toHtmlEscaped() : notice.body;
    QStringList actions; // services without them show buttons that do nothing, or an error
    if (m_capabilities->contains(u"actions"_s))
        actions = {kDefaultAction, words("Open Tallowfern")};
    const QVariantMap hints = {{u"desktop-entry"_s, kApplication}, {u"urgency"_s, QVariant::fromValue(kNormalUrgency)}};
    return ask(u"Notify"_s,
        {u"Tallowfern"_s, m_shown.value(notice.identifier).number, kApplication, notice.title, body, actions, hints,
            kUsualExpiry});
}

void DesktopNotifications::actionInvoked(uint number, const QString& action, const QDBusMessage& message)
{
    if (action != kDefaultAction || !onClick)
        return;
    for (auto shown = m_shown.cbegin(); shown != m_shown.cend(); ++shown) {
        if (shown->number == number && shown->service == message.service()) {
            onClick(QString(shown.key())); // a copy: what it calls may post
            return;
        }
    }
}

void DesktopNotifications::forget()
{
    m_capabilities.reset();
    m_shown.clear();
}

} // namespace tallowfern
