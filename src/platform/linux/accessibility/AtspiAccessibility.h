#pragma once

#include "foundation/Clock.h"
#include "foundation/Lifetime.h"
#include "platform/Accessibility.h"

#include <QDBusServiceWatcher>
#include <QObject>

#include <functional>
#include <memory>

namespace tallowfern {

class AtspiFocus;

/// Reads and selects in other applications through the accessibility bus, which is found again when it comes late or
/// starts anew.
class AtspiAccessibility final : public QObject, public Accessibility {
    Q_OBJECT
public:
    /// `frontmostProcess` gives the process that owns the active window, 0 when it is not known.
    AtspiAccessibility(Clock& clock, std::function<qint64()> frontmostProcess);
    ~AtspiAccessibility() override;

    std::optional<AccessibleElement> focusedElement() const override;
    QCoro::Task<std::optional<AccessibleElement>> findFocusedElement() override;
    QCoro::Task<std::optional<ElementSelection>> selection(AccessibleElement element) override;
    QCoro::Task<std::optional<QString>> value(AccessibleElement element) override;
    QCoro::Task<bool> select(AccessibleElement element, TextRange range, QString expected) override;

private:
    Q_SLOT void onDisconnected();
    QCoro::Task<> connectToBus(double delay, std::stop_token stop);
    void open(const QString& address);
    void close();
    bool hasFocus(const AccessibleElement& element) const;

    Clock& m_clock;
    std::function<qint64()> m_frontmostProcess;
    std::unique_ptr<AtspiFocus> m_focus; ///< present while there is a bus
    QDBusServiceWatcher m_launcherWatcher;
    Lifetime m_lifetime;
};

} // namespace tallowfern
