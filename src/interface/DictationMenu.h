#pragma once

#include "core/AppState.h"

#include <QMenu>

namespace tallowfern {

/// The menu "Dictation" of the application: its titles and what is enabled follow the published state. Main thread.
class DictationMenu : public QMenu {
    Q_OBJECT
public:
    DictationMenu(AppState& state, QWidget* parent);

private:
    void follow();

    AppState& m_state;
    QAction* m_toggle;
    QAction* m_cancel;
    QAction* m_cancelRecording;
};

} // namespace tallowfern
