#pragma once

#include <QString>

#include <functional>

namespace tallowfern {

/// The desktop's notifications. Main thread.
class NotificationCenter {
public:
    struct Notice {
        QString identifier; ///< a newer notice with it replaces one that is still on show
        QString title;
        QString body; ///< plain text

        bool operator==(const Notice&) const = default;
    };

    virtual ~NotificationCenter() = default;

    /// Shows it at once. A desktop that shows no notifications shows nothing, and says nothing.
    virtual void post(Notice notice) = 0;

    /// The user clicked a notice. Set once by the owner; called from the main loop.
    std::function<void(const QString& identifier)> onClick;
};

} // namespace tallowfern
