#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QObject>

#include "foundation/Completion.h" // after Qt: moc 6.4 stumbles over <coroutine> before it
#include "foundation/Lifetime.h"
#include "platform/Accessibility.h"

namespace tallowfern {

/// Remembers which element has the focus in each application, from the events of one accessibility bus. Main thread.
class AtspiFocus final : public QObject {
    Q_OBJECT
public:
    explicit AtspiFocus(const QDBusConnection& bus);

    /// The element that gained the focus last in this process, and has not lost it.
    std::optional<AccessibleElement> focusedIn(qint64 processIdentifier) const;
    /// Looks for the element with the focus in a process that has told of none: it had the focus before it knew that
    /// somebody listens. What is found is known from then on.
    /// Completes when the search is over; another one that runs is waited for instead.
    Completion<bool> seekIn(qint64 processIdentifier);

private:
    Q_SLOT void onStateChanged(const QDBusMessage& event);
    void orderEvents();
    void learnProcess(const QString& service);
    QCoro::Task<> seek(qint64 processIdentifier, std::stop_token stop);
    void gain(const QString& service, const QString& path);
    void learn(const AccessibleElement& element);

    struct Application {
        qint64 processIdentifier = 0; ///< 0 until the bus has told
        QString focusedPath; ///< empty when nothing has the focus
    };

    QDBusConnection m_bus;
    QHash<QString, Application> m_applications; ///< by their names on the bus
    std::optional<Completion<bool>> m_seeking;
    QDBusServiceWatcher m_applicationWatcher;
    QDBusServiceWatcher m_registryWatcher;
    Lifetime m_lifetime;
};

} // namespace tallowfern
