#pragma once

#include "platform/FloatingPanels.h"
#include "platform/linux/x11/X11Connection.h"

namespace tallowfern {

/// Floating by the extended hints of window managers; translucent while a compositing manager runs.
class X11FloatingPanels final : public FloatingPanels {
    Q_OBJECT
public:
    explicit X11FloatingPanels(X11Connection& connection);

    void keepAbove(quintptr window) override;
    bool isTranslucent() const override { return m_isTranslucent; }

private:
    void handleEvent(const xcb_generic_event_t* event);
    bool isShown(xcb_window_t window);
    void askForAll(xcb_window_t panel);
    void setBeforeShown(xcb_window_t window);
    void ask(xcb_window_t window, const QString& message, quint32 first, quint32 second, quint32 third);

    X11Connection& m_connection;
    xcb_atom_t m_compositor;
    quint8 m_firstFixesEvent = 0;
    bool m_isTranslucent = false;
};

} // namespace tallowfern
