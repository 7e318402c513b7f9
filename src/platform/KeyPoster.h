#pragma once

#include "platform/Workspace.h"

#include <QCoroTask>
#include <QObject>

namespace tallowfern {

/// Types key chords into other applications. Main thread.
class KeyPoster : public QObject {
    Q_OBJECT
public:
    /// Whether a chord can be posted on this desktop now; answered from state, never waits.
    virtual bool canPost() const = 0;
    /// Posts the chord that pastes in `target`, whatever it is there. Waits first, for one second at most, until the
    /// user has let go of the hot key and its modifiers, and then lets go of them itself. False, with nothing posted,
    /// when another application than `target` is in front at the moment of posting, or when the clipboard holds what
    /// another program wrote. True says that the chord was posted, not that the application took it. The work goes on
    /// when the caller is gone.
    virtual QCoro::Task<bool> paste(RunningApplication target) = 0;
    /// Posts the chord that copies the selection of `target`, under the same conditions but those of the clipboard.
    /// False, with nothing posted, also where `target` is of a kind that has no such chord.
    virtual QCoro::Task<bool> copy(RunningApplication target) = 0;
};

} // namespace tallowfern
