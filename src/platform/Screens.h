#pragma once

#include <QList>
#include <QObject>
#include <QPointF>
#include <QRectF>

#include <optional>

namespace tallowfern {

/// One screen, in the logical pixels in which windows are placed, y downwards.
struct Screen {
    QRectF frame;
    QRectF visibleFrame; ///< without panels and docks
    friend bool operator==(const Screen&, const Screen&) = default;
};

/// The screens of the desktop. Main thread; every answer is of now.
class Screens : public QObject {
    Q_OBJECT
public:
    virtual QList<Screen> screens() const = 0;
    /// The screen with the focused window; nothing when no window has the focus.
    virtual std::optional<Screen> focusedScreen() const = 0;
    virtual QPointF pointer() const = 0;

Q_SIGNALS:
    void screensChanged(); ///< one came, went, or changed its size or what panels leave free of it
    void workspaceChanged(); ///< another workspace is shown
};

} // namespace tallowfern
