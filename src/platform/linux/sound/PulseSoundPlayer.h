#pragma once

#include "platform/SoundPlayer.h"

#include <QString>

namespace tallowfern {

class PulseContext;

/// Plays the WAV files of one folder. Without a sound server nothing is heard, and nothing fails.
class PulseSoundPlayer final : public SoundPlayer {
public:
    /// `context` outlives the player and its sounds.
    PulseSoundPlayer(PulseContext& context, QString folder);

    std::unique_ptr<Sound> load(const QString& name) override;
    void beep() override;

private:
    PulseContext& m_context;
    QString m_folder;
    std::unique_ptr<Sound> m_beep;
};

} // namespace tallowfern
