#pragma once

#include "foundation/Clock.h"
#include "foundation/Lifetime.h"
#include "platform/SecretStore.h"

namespace tallowfern {

/// Keeps secrets in the keyring of the desktop's session. Needs an event loop that serves GLib, as Qt's own does
/// wherever it was built with GLib; without one every operation runs into its deadline.
class SecretServiceStore final : public SecretStore {
public:
    explicit SecretServiceStore(Clock& clock);

    QCoro::Task<SecretStatus> update(SecretQuery query, Secret secret, SecretPrompt prompt) override;
    QCoro::Task<SecretStatus> add(SecretQuery query, Secret secret, SecretPrompt prompt) override;
    QCoro::Task<SecretReading> copyMatching(SecretQuery query, SecretPrompt prompt) override;
    QCoro::Task<SecretStatus> remove(SecretQuery query) override;

private:
    Clock& m_clock;
    Lifetime m_lifetime;
};

} // namespace tallowfern
