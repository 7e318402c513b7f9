#pragma once

#include "platform/Screens.h"
#include "platform/linux/x11/X11Connection.h"

namespace tallowfern {

/// The screens as Qt places windows on them, less what panels reserve at the edges of each.
class X11Screens final : public Screens {
    Q_OBJECT
public:
    /// The connection is of its own: what it is told of the root window nobody else has chosen.
    explicit X11Screens(X11Connection& connection);

    QList<Screen> screens() const override;
    std::optional<Screen> focusedScreen() const override;
    QPointF pointer() const override;

private:
    void handleEvent(const xcb_generic_event_t* event);
    void tellSoon();

    X11Connection& m_connection;
    bool m_isToldSoon = false;
};

} // namespace tallowfern
