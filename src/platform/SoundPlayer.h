#pragma once

#include <QString>

#include <memory>

namespace tallowfern {

/// A short sound that is ready to play. Destroying it stops it.
class Sound {
public:
    Sound() = default;
    Sound(const Sound&) = delete;
    Sound& operator=(const Sound&) = delete;
    virtual ~Sound() = default;

    /// `volume` is 0 to 1 of full. Returns at once.
    virtual void play(double volume) = 0;
};

/// Main thread.
class SoundPlayer {
public:
    virtual ~SoundPlayer() = default;

    /// One of the application's own sounds ("Pop", "Glass", "Tink"); null when it cannot be played.
    virtual std::unique_ptr<Sound> load(const QString& name) = 0;
    /// The desktop's plainest signal.
    virtual void beep() = 0;
};

} // namespace tallowfern
