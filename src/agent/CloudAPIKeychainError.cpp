#include "agent/CloudAPIKeychainError.h"

#include "foundation/Words.h"

namespace tallowfern {

CloudAPIKeychainError CloudAPIKeychainError::invalidKey(AgentWritingProvider provider)
{
    return {provider, std::nullopt};
}

CloudAPIKeychainError CloudAPIKeychainError::operationFailed(AgentWritingProvider provider, SecretStatus status)
{
    return {provider, std::move(status)};
}

QString CloudAPIKeychainError::description() const
{
    if (!m_status && m_provider == AgentWritingProvider::OpenAI)
        return words("Enter a valid OpenAI API key beginning with sk-.");
    if (!m_status)
        return words("Enter a valid %1 API key.").arg(label(m_provider));
    if (!m_status->text)
        return words("The %1 API key could not be updated in Keychain.").arg(label(m_provider));
    return words("The %1 API key could not be updated in Keychain: %2").arg(label(m_provider), *m_status->text);
}

} // namespace tallowfern
