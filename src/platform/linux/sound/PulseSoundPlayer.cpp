#include "platform/linux/sound/PulseSoundPlayer.h"

#include "platform/linux/sound/PulseSound.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

PulseSoundPlayer::PulseSoundPlayer(PulseContext& context, QString folder)
    : m_context(context)
    , m_folder(std::move(folder))
{
}

std::unique_ptr<Sound> PulseSoundPlayer::load(const QString& name)
{
    auto samples = SoundSamples::fromWavFile(m_folder + u'/' + name + u".wav"_s);
    if (!samples)
        return nullptr;
    return std::make_unique<PulseSound>(m_context, std::move(*samples));
}

void PulseSoundPlayer::beep()
{
    constexpr double kBeepVolume = 0.5;
    if (!m_beep)
        m_beep = load(u"Tink"_s);
    if (m_beep)
        m_beep->play(kBeepVolume);
}

} // namespace tallowfern
