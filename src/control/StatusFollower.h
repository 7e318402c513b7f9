#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

namespace tallowfern::control {

/// Prints status reports, as JSON lines or for a person: one at each change, until the application ends, which ends
/// the command's event loop.
class StatusFollower : public QObject {
    Q_OBJECT
public:
    enum class Form { Json, Text };
    StatusFollower(QDBusConnection& bus, Form form);

public Q_SLOTS:
    void print(const QString& report) const;

private:
    Form m_form;
    QDBusServiceWatcher m_watcher;
};

} // namespace tallowfern::control
