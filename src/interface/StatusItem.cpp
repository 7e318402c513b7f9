#include "interface/StatusItem.h"

#include "foundation/Words.h"
#include "interface/TrayIcon.h"

#include <QAction>
#include <QCursor>

namespace tallowfern {

using namespace Qt::StringLiterals;

StatusItem::StatusItem(DictationSession& dictation, Navigation& navigation, std::function<void()> quit)
    : m_dictation(dictation)
{
    buildMenu(navigation, std::move(quit));
    connect(&dictation, &DictationSession::statusChanged, this, &StatusItem::showStatus);
    connect(&m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            m_menu.popup(QCursor::pos());
    });
    showStatus();
    m_icon.setContextMenu(&m_menu);
    m_icon.show();
}

void StatusItem::buildMenu(Navigation& navigation, std::function<void()> quit)
{
    const QAction* dictate = m_menu.addAction(words("Start or stop dictation"));
    connect(dictate, &QAction::triggered, &m_dictation, &DictationSession::toggleRecording);
    const QAction* open = m_menu.addAction(words("Open Tallowfern"));
    connect(open, &QAction::triggered, &navigation, &Navigation::bringMainWindowForward);
    m_menu.addSeparator();
    QAction* end = m_menu.addAction(words("Quit Tallowfern"));
    end->setShortcut(QKeySequence(u"Ctrl+Q"_s));
    connect(end, &QAction::triggered, this, std::move(quit));
}

void StatusItem::showStatus()
{
    const CaptureStatus& status = m_dictation.status();
    m_icon.setIcon(trayIcon(status.state));
    const bool failed = status.state == CaptureStatus::Case::Error;
    m_icon.setToolTip(failed ? u"Tallowfern: "_s + status.text : u"Tallowfern"_s);
}

} // namespace tallowfern
