#include "platform/linux/appearance/PortalAppearance.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QString kService = u"org.freedesktop.portal.Desktop"_s;
const QString kPath = u"/org/freedesktop/portal/desktop"_s;
const QString kInterface = u"org.freedesktop.portal.Settings"_s;
const QString kGroup = u"org.freedesktop.appearance"_s;
const QString kKey = u"color-scheme"_s;

// The portal's numbers; 0 is no preference.
constexpr uint kDark = 1;
constexpr uint kLight = 2;

} // namespace

PortalAppearance::PortalAppearance(const QDBusConnection& bus)
{
    QDBusConnection connection(bus);
    connection.connect(
        kService, kPath, kInterface, u"SettingChanged"_s, this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage question = QDBusMessage::createMethodCall(kService, kPath, kInterface, u"Read"_s);
    question << kGroup << kKey;
    auto* answer = new QDBusPendingCallWatcher(connection.asyncCall(question), this);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isValid())
            learn(reply.value().variant());
        answer->deleteLater();
    });
}

void PortalAppearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value)
{
    if (group == kGroup && key == kKey)
        learn(value.variant());
}

void PortalAppearance::learn(const QVariant& value)
{
    // Read() packs its answer twice.
    const uint scheme = (value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant() : value).toUInt();
    const auto known = scheme == kDark || scheme == kLight ? std::optional(scheme == kDark) : std::nullopt;
    if (std::exchange(m_prefersDark, known) != known)
        Q_EMIT changed();
}

} // namespace tallowfern
