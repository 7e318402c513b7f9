#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QList>
#include <QObject>

#include <QCoroTask>

#include "foundation/Lifetime.h"
#include "platform/NotificationCenter.h"

#include <optional>

namespace tallowfern {

/// The notification service of the session, asked without waiting for it. Which of its notices is ours is known until
/// it ends: a new one gives the same numbers to others.
class DesktopNotifications final : public QObject, public NotificationCenter {
    Q_OBJECT
public:
    explicit DesktopNotifications(const QDBusConnection& bus = QDBusConnection::sessionBus());

    void post(Notice notice) override;

private Q_SLOTS:
    void actionInvoked(uint number, const QString& action, const QDBusMessage& message);

private:
    struct Shown {
        uint number = 0;
        QString service; ///< unique on the bus
    };
    QCoro::Task<> showAll();
    QDBusPendingCall ask(const QString& method, const QVariantList& arguments = {}) const;
    QDBusPendingCall show(const Notice& notice) const;
    void forget();

    QDBusConnection m_bus;
    QDBusServiceWatcher m_serviceWatcher;
    QList<Notice> m_waiting; ///< one call at a time: a newer notice needs the number of the older one
    bool m_isShowing = false;
    std::optional<QStringList> m_capabilities; ///< of the running service, once it has been asked
    QHash<QString, Shown> m_shown; ///< by identifier
    Lifetime m_lifetime;
};

} // namespace tallowfern
