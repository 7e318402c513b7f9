#pragma once

#include "core/AppState.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

#include <functional>

namespace tallowfern {

/// The application's end of the session bus: one instance, commands from outside, published state to outside.
class ControlService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.tallowfern.Control1")
public:
    enum class Claim {
        Ours, ///< this is the one instance
        Another, ///< one runs already
        NoBus, ///< nothing can be told: the application runs without control
    };
    /// Takes the name on the bus.
    static Claim claimName();
    /// Brings the instance that holds the name to front.
    static void handOver();

    ControlService(AppState& state, std::function<void()> quit);

public Q_SLOTS:
    void Do(const QStringList& words);
    QString Status() const;

Q_SIGNALS:
    void StatusChanged(const QString& report);

private:
    void command(const QStringList& words);

    AppState& m_state;
    std::function<void()> m_quit;
    QString m_lastReport;
};

} // namespace tallowfern
