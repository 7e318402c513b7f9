#pragma once

#include "agent/protocol/AgentTypes.h"
#include "foundation/LocalizedError.h"
#include "platform/SecretStore.h"

namespace tallowfern {

/// What goes wrong with a cloud key. Never tells the key.
class CloudAPIKeychainError final : public LocalizedError {
public:
    static CloudAPIKeychainError invalidKey(AgentWritingProvider provider);
    static CloudAPIKeychainError operationFailed(AgentWritingProvider provider, SecretStatus status);

    AgentWritingProvider provider() const { return m_provider; }
    /// Of the store's operation that failed; absent when the key itself is no good.
    const std::optional<SecretStatus>& status() const { return m_status; }
    QString description() const override;

private:
    CloudAPIKeychainError(AgentWritingProvider provider, std::optional<SecretStatus> status)
        : m_provider(provider)
        , m_status(std::move(status))
    {
    }

    AgentWritingProvider m_provider;
    std::optional<SecretStatus> m_status;
};

} // namespace tallowfern
