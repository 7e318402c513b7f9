#pragma once

#include "platform/Workspace.h"
#include "platform/linux/x11/X11Connection.h"

#include <QHash>

#include <vector>

namespace tallowfern {

/// Windows by the extended hints of window managers. Where no window manager speaks them, the window with the input
/// focus is the one in front.
class X11Workspace final : public Workspace {
    Q_OBJECT
public:
    explicit X11Workspace(X11Connection& connection);

    std::optional<RunningApplication> frontmostApplication() const override { return m_frontmost; }
    bool isTerminated(const RunningApplication& application) const override;
    void activate(const RunningApplication& application) override;

    /// Asks the server instead of the state, and publishes nothing: for the moment of posting a chord.
    bool isInFrontNow(const RunningApplication& application);

private:
    void handleEvent(const xcb_generic_event_t* event);
    void update();
    bool watch(xcb_window_t window);
    xcb_window_t candidate();
    bool hasInputFocus(xcb_window_t window);
    bool isDesktop(xcb_window_t window);
    bool speaksExtendedHints();
    std::vector<xcb_window_t> focusPath();
    RunningApplication describe(xcb_window_t window);
    QString text(xcb_window_t window, const QString& property);
    quint32 number(xcb_window_t window, const QString& property);

    X11Connection& m_connection;
    QHash<xcb_window_t, RunningApplication> m_known; ///< windows that were active once and still exist
    quint32 m_generation = 0; ///< the server gives the numbers of dead windows to new ones
    std::optional<RunningApplication> m_frontmost;
};

} // namespace tallowfern
