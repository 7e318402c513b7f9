#pragma once

#include "platform/AudioCapture.h"
#include "platform/KeyPoster.h"

#include <QObject>

namespace tallowfern {

/// What the desktop lets us do, as of the last refresh. Main thread.
class Permissions : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool microphoneGranted READ microphoneGranted NOTIFY changed)
    Q_PROPERTY(bool accessibilityGranted READ accessibilityGranted NOTIFY changed)
public:
    Permissions(const AudioCapture& audioCapture, const KeyPoster& keyPoster);

    bool microphoneGranted() const { return m_microphoneGranted; }
    /// Whether text can be pasted for the user.
    bool accessibilityGranted() const { return m_accessibilityGranted; }

    /// Reads the state; never asks the user, never waits.
    void refreshPermissions();

Q_SIGNALS:
    void changed();

private:
    const AudioCapture& m_audioCapture;
    const KeyPoster& m_keyPoster;
    bool m_microphoneGranted;
    bool m_accessibilityGranted;
};

} // namespace tallowfern
