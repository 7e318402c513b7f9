#pragma once

#include "platform/SystemAppearance.h"

#include <QDBusConnection>
#include <QDBusVariant>

namespace tallowfern {

/// What the desktop's settings portal says of the colour scheme. Asked once; changes are told by its signal.
class PortalAppearance final : public SystemAppearance {
    Q_OBJECT
public:
    explicit PortalAppearance(const QDBusConnection& bus = QDBusConnection::sessionBus());

    std::optional<bool> prefersDark() const override { return m_prefersDark; }

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void learn(const QVariant& value);

    std::optional<bool> m_prefersDark;
};

} // namespace tallowfern
