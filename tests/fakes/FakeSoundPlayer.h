#pragma once

#include "platform/SoundPlayer.h"

#include <QStringList>

namespace tallowfern {

/// Sounds that nobody hears; the test sees which play.
class FakeSoundPlayer final : public SoundPlayer {
public:
    bool hasSounds = true;
    QStringList played; ///< name and volume
    int playing = 0; ///< alive now
    int beeps = 0;

    std::unique_ptr<Sound> load(const QString& name) override
    {
        return hasSounds ? std::make_unique<FakeSound>(*this, name) : nullptr;
    }
    void beep() override { ++beeps; }

private:
    class FakeSound final : public Sound {
    public:
        FakeSound(FakeSoundPlayer& player, QString name)
            : m_player(player)
            , m_name(std::move(name))
        {
            ++m_player.playing;
        }
        ~FakeSound() override { --m_player.playing; }
        void play(double volume) override { m_player.played.append(QStringLiteral("%1 %2").arg(m_name).arg(volume)); }

    private:
        FakeSoundPlayer& m_player;
        QString m_name;
    };
};

} // namespace tallowfern
