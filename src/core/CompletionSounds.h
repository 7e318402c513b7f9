#pragma once

#include "core/Preferences.h"
#include "platform/SoundPlayer.h"

#include <QObject>

#include <memory>

namespace tallowfern {

/// The sound at the end of a session. Main thread.
class CompletionSounds : public QObject {
    Q_OBJECT
public:
    CompletionSounds(SoundPlayer& player, const Preferences& preferences);

    /// Stops the one that plays, then plays the user's choice, unless sounds are switched off.
    void playCompletionSound();

private:
    SoundPlayer& m_player;
    const Preferences& m_preferences;
    std::unique_ptr<Sound> m_activeCompletionSound;
};

} // namespace tallowfern
