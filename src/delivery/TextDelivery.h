#pragma once

#include "foundation/Clock.h"
#include "foundation/Lifetime.h"
#include "platform/KeyPoster.h"
#include "platform/Workspace.h"

#include <QCoroTask>

#include <optional>

namespace tallowfern {

/// Pastes what is on the clipboard into the application that the caller recorded; never looks for one by itself.
/// Main thread.
class TextDelivery {
public:
    TextDelivery(Workspace& workspace, KeyPoster& keyPoster, Clock& clock);

    /// Brings the application to front (500 ms at most), pastes, and gives it 150 ms to read the clipboard. True says
    /// that the chord was posted. False, with nothing posted: chords cannot be posted here, no application, a
    /// terminated one, or one that is not in front when the chord is due. Goes on when the caller is gone; only the
    /// end of this object ends it.
    QCoro::Task<bool> paste(std::optional<RunningApplication> application);
    /// Brings the application to front, within 500 ms. False for none and for a terminated one.
    QCoro::Task<bool> activate(std::optional<RunningApplication> application);

private:
    Workspace& m_workspace;
    KeyPoster& m_keyPoster;
    Clock& m_clock;
    Lifetime m_lifetime;
};

} // namespace tallowfern
