#include "platform/notifications/NotificationServer.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

QString nextConnection()
{
    static int last = 0;
    return u"notification-server-%1"_s.arg(++last);
}

} // namespace

NotificationServer::NotificationServer(QStringList capabilities, bool takesName)
    : m_capabilities(std::move(capabilities))
    , m_bus(QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), nextConnection()))
{
    m_bus.registerObject(u"/org/freedesktop/Notifications"_s, this,
        QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals);
    if (takesName)
        m_bus.registerService(u"org.freedesktop.Notifications"_s);
}

NotificationServer::~NotificationServer()
{
    QDBusConnection::disconnectFromBus(m_bus.name());
}

uint NotificationServer::Notify(const QString&, uint replaces, const QString&, const QString& title,
    const QString& body, const QStringList& actions, const QVariantMap& hints, int)
{
    const uint number = replaces ? replaces : ++m_lastNumber;
    shown.append({number, replaces, title, body, actions, hints});
    if (onShow)
        onShow();
    return number;
}

} // namespace tallowfern
