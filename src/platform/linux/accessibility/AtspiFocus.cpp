#include "platform/linux/accessibility/AtspiFocus.h"

#include "platform/linux/accessibility/AtspiSearch.h"

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
    if (gained) {
        gain(event.service(), event.path());
        return;
    }
    const auto known = m_applications.find(event.service());
    if (known != m_applications.end() && known->focusedPath == event.path())
        known->focusedPath.clear(); // GTK 4 tells of the gain before the loss: only the loss of this one counts
}

void AtspiFocus::gain(const QString& service, const QString& path)
{
    const auto known = m_applications.find(service);
    if (known != m_applications.end()) {
        known->focusedPath = path;
        return;
    }
    m_applications.insert(service, {0, path});
    m_applicationWatcher.addWatchedService(service);
    learnProcess(service);
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

Completion<bool> AtspiFocus::seekIn(qint64 processIdentifier)
{
    if (m_seeking)
        return *m_seeking;
    Completion<bool> over;
    m_seeking = over;
    seek(processIdentifier, m_lifetime.token());
    return over;
}

QCoro::Task<> AtspiFocus::seek(qint64 processIdentifier, std::stop_token stop)
{
    Completion<bool> over = *m_seeking;
    const auto found = co_await findFocusedText(m_bus, processIdentifier);
    if (!stop.stop_requested()) {
        m_seeking.reset();
        if (found && !focusedIn(processIdentifier)) // an event that came meanwhile is newer
            learn(*found);
    }
    over.complete(true);
}

void AtspiFocus::learn(const AccessibleElement& element)
{
    gain(element.service, element.path);
    m_applications[element.service].processIdentifier = element.processIdentifier;
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
