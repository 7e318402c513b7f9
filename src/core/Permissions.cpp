#include "core/Permissions.h"

namespace tallowfern {

Permissions::Permissions(const AudioCapture& audioCapture, const KeyPoster& keyPoster)
    : m_audioCapture(audioCapture)
    , m_keyPoster(keyPoster)
    , m_microphoneGranted(audioCapture.hasMicrophone())
    , m_accessibilityGranted(keyPoster.canPost())
{
    // The sound server answers a moment after the start, and microphones come and go.
    connect(&audioCapture, &AudioCapture::hasMicrophoneChanged, this, &Permissions::refreshPermissions);
}

void Permissions::refreshPermissions()
{
    m_microphoneGranted = m_audioCapture.hasMicrophone();
    m_accessibilityGranted = m_keyPoster.canPost();
    Q_EMIT changed();
}

} // namespace tallowfern
