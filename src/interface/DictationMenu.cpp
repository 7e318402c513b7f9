#include "interface/DictationMenu.h"

#include "foundation/Words.h"

namespace tallowfern {

DictationMenu::DictationMenu(AppState& state, QWidget* parent)
    : QMenu(words("Dictation"), parent)
    , m_state(state)
    , m_toggle(addAction(QString()))
    , m_cancel(addAction(QString()))
    , m_cancelRecording(addAction(words("Cancel Recording")))
{
    connect(m_toggle, &QAction::triggered, &state.dictation, &DictationSession::toggleRecording);
    connect(m_cancel, &QAction::triggered, &state.dictation, &DictationSession::cancelRecording);
    connect(m_cancelRecording, &QAction::triggered, &state.dictation, &DictationSession::cancelRecording);
    connect(&state.dictation, &DictationSession::statusChanged, this, &DictationMenu::follow);
    connect(&state.preferences, &Preferences::shortcutsChanged, this, &DictationMenu::follow);
    follow();
}

void DictationMenu::follow()
{
    const bool isRecording = m_state.dictation.status().state == CaptureStatus::Case::Recording;
    m_toggle->setText((isRecording ? words("Finish Dictation (%1)") : words("Start Dictation (%1)"))
                          .arg(m_state.preferences.toggleShortcut().displayName()));
    m_cancel->setText(words("Cancel Dictation (%1)").arg(m_state.preferences.cancelShortcut().displayName()));
    m_cancel->setEnabled(isRecording);
    m_cancelRecording->setEnabled(isRecording);
}

} // namespace tallowfern
