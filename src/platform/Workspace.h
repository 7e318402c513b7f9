#pragma once

#include <QObject>
#include <QString>

#include <optional>

namespace tallowfern {

/// An application that text can be delivered into: one window with its process. Two values are the same application
/// when their `identity` is the same.
struct RunningApplication {
    quint64 identity = 0; ///< of the window; opaque
    qint64 processIdentifier = 0; ///< 0 when the desktop does not tell
    QString localizedName; ///< as the user knows it, for example "Text Editor"
    QString applicationIdentifier; ///< desktop file or class name, for rules about kinds of applications

    friend bool operator==(const RunningApplication& a, const RunningApplication& b)
    {
        return a.identity == b.identity;
    }
};

/// Which application is in front, and bringing one there. Main thread. All answers come from state that events keep,
/// so none of them waits.
class Workspace : public QObject {
    Q_OBJECT
public:
    /// Nothing while the desktop itself has the focus, or one of our own windows.
    virtual std::optional<RunningApplication> frontmostApplication() const = 0;
    /// True once the window is destroyed.
    virtual bool isTerminated(const RunningApplication& application) const = 0;
    /// Asks for the application to come to front with the keyboard; frontmostChanged tells when it has.
    virtual void activate(const RunningApplication& application) = 0;

Q_SIGNALS:
    void frontmostChanged();
};

} // namespace tallowfern
