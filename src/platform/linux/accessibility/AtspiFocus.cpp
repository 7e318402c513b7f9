#include "platform/linux/accessibility/AtspiFocus.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QString kRegistry = u"org.a11y.atspi.Registry"_s;
const QString kFocused = u"focused"_s;

} // namespace

AtspiFocus::AtspiFocus(const QDBusConnection& bus)
    : m_bus(bus)
    , m_applicationWatcher(QString(), bus, QDBusServiceWatcher::WatchForUnregistration)
    , m_registryWatcher(kRegistry, bus, QDBusServiceWatcher::WatchForRegistration)
{
    connect(&m_applicationWatcher, &QDBusServiceWatcher::serviceUnregistered, this, [this](const QString& service) {
        m_applicationWatcher.removeWatchedService(service);
        m_applications.remove(service);
    });
    connect(&m_registryWatcher, &QDBusServiceWatcher::serviceRegistered, this, &AtspiFocus::orderEvents);
    m_bus.connect(QString(), QString(), u"org.a11y.atspi.Event.Object"_s, u"StateChanged"_s, {kFocused}, QString(),
        this, SLOT(onStateChanged(QDBusMessage)));
    orderEvents();
}

/// Applications tell nothing until somebody has asked the registry for it; a new registry has to be asked anew.
void AtspiFocus::orderEvents()
{
    QDBusMessage order = QDBusMessage::createMethodCall(
        kRegistry, u"/org/a11y/atspi/registry"_s, u"org.a11y.atspi.Registry"_s, u"RegisterEvent"_s);
    order << u"object:state-changed:focused"_s;
    m_bus.asyncCall(order);
}

void AtspiFocus::onStateChanged(const QDBusMessage& event)
{
    const QList<QVariant> arguments = event.arguments();
    if (arguments.size() < 2 || arguments[0].toString() != kFocused)
        return;
    const bool gained = arguments[1].toInt() != 0;
    const auto known = m_applications.find(event.service());
    if (known == m_applications.end()) {
        if (!gained)
            return;
        m_applications.insert(event.service(), {0, event.path()});
        m_applicationWatcher.addWatchedService(event.service());
        learnProcess(event.service());
    } else if (gained) {
        known->focusedPath = event.path();
    } else if (known->focusedPath == event.path()) {
        known->focusedPath.clear(); // GTK 4 tells of the gain before the loss: only the loss of this one counts
    }
}

void AtspiFocus::learnProcess(const QString& service)
{
    QDBusMessage question = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
        u"org.freedesktop.DBus"_s, u"GetConnectionUnixProcessID"_s);
    question << service;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, service, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<uint> reply = *watcher;
        const auto known = m_applications.find(service);
        if (known != m_applications.end() && !reply.isError())
            known->processIdentifier = reply.value();
    });
}

std::optional<AccessibleElement> AtspiFocus::focusedIn(qint64 processIdentifier) const
{
    if (processIdentifier == 0)
        return std::nullopt;
    for (auto each = m_applications.begin(); each != m_applications.end(); ++each) {
        if (each->processIdentifier == processIdentifier && !each->focusedPath.isEmpty())
            return AccessibleElement{each.key(), each->focusedPath, processIdentifier};
    }
    return std::nullopt;
}

} // namespace tallowfern
