#pragma once

#include "platform/Pasteboard.h"
#include "platform/linux/x11/X11SelectionOwner.h"
#include "platform/linux/x11/X11SelectionReader.h"
#include "platform/linux/x11/X11SelectionSender.h"

#include <QQueue>

namespace tallowfern {

/// The CLIPBOARD selection, read and served on a connection of its own. Serving it ourselves gives back the bytes as
/// they were read, in one change, and needs no QGuiApplication; the handing over at the end is the price.
class X11Pasteboard final : public Pasteboard {
    Q_OBJECT
public:
    explicit X11Pasteboard(std::unique_ptr<X11Connection> connection);
    ~X11Pasteboard() override;

    qint64 changeCount() const override { return m_changeCount; }
    QCoro::Task<qint64> settledChangeCount() override;
    QCoro::Task<PasteboardReading> readAll() override;
    QCoro::Task<std::optional<QString>> readText(RunningApplication owner) override;
    QCoro::Task<std::optional<QString>> readSelectedText(RunningApplication application) override;
    void replaceItems(const QList<PasteboardItem>& items) override;
    void replaceText(const QString& text) override;

    /// Offers what we hold on the clipboard as PRIMARY as well, where some terminals look for it. This takes away the
    /// visible selection of other programs, so it is for those terminals only. Has happened when this returns.
    void offerAsPrimary();
    /// The window that owns the clipboard while its content is ours.
    xcb_window_t ownerWindow() const { return m_clipboard.window(); }
    /// Before quitting: gives what we hold to the desktop's clipboard manager, if there is one. Ends after two seconds
    /// at most.
    QCoro::Task<> handOver();

private:
    void replace(const X11SelectionContent& content);
    void handleEvent(const xcb_generic_event_t* event);

    std::unique_ptr<X11Connection> m_connection;
    X11SelectionSender m_sender;
    X11SelectionOwner m_clipboard;
    X11SelectionOwner m_primary;
    X11SelectionReader m_reader;
    X11SelectionReader m_primaryReader;
    qint64 m_changeCount = 0;
    QQueue<quint32> m_ownRequests; ///< counted already; the server's word of them is still to come
    Completion<bool> m_handedOver;
    std::stop_source m_stop;
};

} // namespace tallowfern
