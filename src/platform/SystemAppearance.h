#pragma once

#include <QObject>

#include <optional>

namespace tallowfern {

/// Whether the user likes the desktop light or dark. Main thread; the answer is of kept state.
class SystemAppearance : public QObject {
    Q_OBJECT
public:
    /// Nothing where the desktop does not say.
    virtual std::optional<bool> prefersDark() const = 0;

Q_SIGNALS:
    void changed();
};

} // namespace tallowfern
