#include "core/Permissions.h"

namespace tallowfern {

Permissions::Permissions(const AudioCapture& audioCapture, const KeyPoster& keyPoster)
    : m_audioCapture(audioCapture)
    , m_keyPoster(keyPoster)
    , m_microphoneGranted(audioCapture.hasMicrophone())
    , m_accessibilityGranted(keyPoster.canPost())
{
}

void Permissions::refreshPermissions()
{
    m_microphoneGranted = m_audioCapture.hasMicrophone();
    m_accessibilityGranted = m_keyPoster.canPost();
    Q_EMIT changed();
}

} // namespace tallowfern
