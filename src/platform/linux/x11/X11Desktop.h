#pragma once

#include "platform/linux/x11/X11HotKeyCenter.h"
#include "platform/linux/x11/X11KeyPoster.h"
#include "platform/linux/x11/X11Pasteboard.h"
#include "platform/linux/x11/X11Workspace.h"

#include <memory>
#include <variant>

namespace tallowfern {

/// What an X11 desktop does for us. Main thread.
class X11Desktop final : public QObject {
    Q_OBJECT
public:
    /// The desktop that DISPLAY names, or a sentence for the user that says why there is none.
    static std::variant<std::unique_ptr<X11Desktop>, QString> open();

    X11Pasteboard& pasteboard() { return m_pasteboard; }
    X11Workspace& workspace() { return m_workspace; }
    X11KeyPoster& keyPoster() { return m_keyPoster; }
    X11HotKeyCenter& hotKeyCenter() { return m_hotKeyCenter; }

Q_SIGNALS:
    /// The X server is gone: time to end, nothing here works any more.
    void lost();

private:
    X11Desktop(std::unique_ptr<X11Connection> windows, std::unique_ptr<X11Connection> clipboard,
        std::unique_ptr<X11Connection> hotKeys);

    std::unique_ptr<X11Connection> m_windows;
    X11Pasteboard m_pasteboard;
    X11Workspace m_workspace;
    X11KeyPoster m_keyPoster;
    X11HotKeyCenter m_hotKeyCenter;
};

} // namespace tallowfern
