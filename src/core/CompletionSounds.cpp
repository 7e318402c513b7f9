#include "core/CompletionSounds.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr double kVolume = 0.55;

QString soundName(CompletionSound sound)
{
    switch (sound) {
    case CompletionSound::SoftPop:
        return u"Pop"_s;
    case CompletionSound::GlassChime:
        return u"Glass"_s;
    case CompletionSound::GentleTap:
        return u"Tink"_s;
    }
    return {};
}

} // namespace

CompletionSounds::CompletionSounds(SoundPlayer& player, const Preferences& preferences)
    : m_player(player)
    , m_preferences(preferences)
{
    connect(&preferences, &Preferences::completionSoundEnabledChanged, this, [this] {
        if (!m_preferences.completionSoundEnabled())
            m_activeCompletionSound.reset();
    });
}

void CompletionSounds::playCompletionSound()
{
    m_activeCompletionSound.reset();
    if (!m_preferences.completionSoundEnabled())
        return;
    m_activeCompletionSound = m_player.load(soundName(m_preferences.completionSound()));
    if (m_activeCompletionSound)
        m_activeCompletionSound->play(kVolume);
    else
        m_player.beep();
}

} // namespace tallowfern
