#pragma once

#include "core/DictationSession.h"

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <functional>

namespace tallowfern {

/// The item in the tray: shows what a Dictation is doing, and has the status menu. Appears whenever the desktop has a
/// tray, also when that starts later. Main thread.
class StatusItem : public QObject {
    Q_OBJECT
public:
    StatusItem(DictationSession& dictation, Navigation& navigation, std::function<void()> quit);

private:
    void buildMenu(Navigation& navigation, std::function<void()> quit);
    void showStatus();

    DictationSession& m_dictation;
    QMenu m_menu; // before the icon, which refers to it
    QSystemTrayIcon m_icon;
};

} // namespace tallowfern
