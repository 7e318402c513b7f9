#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>

namespace tallowfern {

/// Stands in for the desktop's notification service, on a connection of its own while it exists.
class NotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Shown {
        uint number;
        uint replaces;
        QString title;
        QString body;
        QStringList actions;
        QVariantMap hints;
    };

    explicit NotificationServer(QStringList capabilities, bool takesName = true);
    ~NotificationServer() override;

    QList<Shown> shown;
    std::function<void()> onShow; ///< before it answers

public Q_SLOTS:
    Q_SCRIPTABLE QStringList GetCapabilities() const { return m_capabilities; }
    Q_SCRIPTABLE uint Notify(const QString& application, uint replaces, const QString& icon, const QString& title,
        const QString& body, const QStringList& actions, const QVariantMap& hints, int milliseconds);

Q_SIGNALS:
    Q_SCRIPTABLE void ActionInvoked(uint number, const QString& action);

private:
    QStringList m_capabilities;
    QDBusConnection m_bus;
    uint m_lastNumber = 40;
};

} // namespace tallowfern
