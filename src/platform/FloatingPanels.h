#pragma once

#include <QObject>

namespace tallowfern {

/// What makes a window of ours float: above all others, on every workspace, without the focus. Main thread.
class FloatingPanels : public QObject {
    Q_OBJECT
public:
    /// Before the window is shown first, and again whenever the desktop may have forgotten it. `window` is the
    /// window's identifier in the desktop's window system.
    virtual void keepAbove(quintptr window) = 0;
    /// Whether half-transparent pixels of a window show what is behind them.
    virtual bool isTranslucent() const = 0;

Q_SIGNALS:
    void translucencyChanged();
};

} // namespace tallowfern
