#include "platform/linux/x11/X11Desktop.h"

#include "platform/linux/x11/Xkb.h"

#include <QCoreApplication>

#include <xcb/xfixes.h>
#include <xcb/xtest.h>

namespace tallowfern {

std::variant<std::unique_ptr<X11Desktop>, QString> X11Desktop::open()
{
    auto windows = X11Connection::open();
    auto clipboard = X11Connection::open();
    auto hotKeys = X11Connection::open();
    if (!windows || !clipboard || !hotKeys)
        return QCoreApplication::translate("Tallowfern", "There is no X11 desktop to work in.");
    if (!windows->hasExtension(&xcb_xfixes_id) || !windows->hasExtension(&xcb_xkb_id))
        return QCoreApplication::translate("Tallowfern",
            "The X server lacks the XFIXES or the XKB extension, which the clipboard and shortcuts need.");
    return std::unique_ptr<X11Desktop>(new X11Desktop(std::move(windows), std::move(clipboard), std::move(hotKeys)));
}

X11Desktop::X11Desktop(std::unique_ptr<X11Connection> windows, std::unique_ptr<X11Connection> clipboard,
    std::unique_ptr<X11Connection> hotKeys)
    : m_windows(std::move(windows))
    , m_pasteboard(std::move(clipboard))
    , m_workspace(*m_windows)
    , m_keyPoster(*m_windows, m_workspace, m_pasteboard)
    , m_hotKeyCenter(std::move(hotKeys))
{
    connect(m_windows.get(), &X11Connection::lost, this, &X11Desktop::lost);
}

} // namespace tallowfern
