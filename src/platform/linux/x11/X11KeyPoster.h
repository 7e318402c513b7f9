#pragma once

#include "platform/KeyPoster.h"
#include "platform/linux/x11/EditChord.h"
#include "platform/linux/x11/X11HeldKeys.h"

#include <stop_token>
#include <utility>
#include <vector>

namespace tallowfern {

class X11Pasteboard;
class X11Workspace;

/// Chords by the XTEST extension, on the connection of the workspace: the server stands still from the last look at
/// who is in front until the chord is typed.
class X11KeyPoster final : public KeyPoster {
    Q_OBJECT
public:
    X11KeyPoster(X11Connection& connection, X11Workspace& workspace, X11Pasteboard& pasteboard);
    ~X11KeyPoster() override;

    bool canPost() const override;
    QCoro::Task<bool> paste(RunningApplication target) override { return post(Edit::Paste, std::move(target)); }
    QCoro::Task<bool> copy(RunningApplication target) override { return post(Edit::Copy, std::move(target)); }

private:
    QCoro::Task<bool> post(Edit edit, RunningApplication target);
    std::vector<xcb_keycode_t> keysOf(const EditChord& chord);
    bool type(Edit edit, const RunningApplication& target, const std::vector<xcb_keycode_t>& keys);
    bool releaseHeldKeys();
    bool ownsClipboard();
    void fakeKey(int eventType, xcb_keycode_t key);

    X11Connection& m_connection;
    X11Workspace& m_workspace;
    X11Pasteboard& m_pasteboard;
    X11HeldKeys m_heldKeys;
    std::stop_source m_stop;
};

} // namespace tallowfern
