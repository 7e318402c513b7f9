#include "core/CloudKeys.h"

#include "agent/CloudAPIKeychainError.h"

#include <algorithm>

namespace tallowfern {

namespace {

std::optional<CloudAPIKeychainStore> keychain(AgentWritingProvider provider)
{
    const auto& stores = cloudKeychains();
    const auto found = std::ranges::find(stores, provider, &CloudAPIKeychainStore::provider);
    return found == stores.end() ? std::nullopt : std::optional(*found);
}

QCoro::Task<bool> hasKey(CloudAPIKeychainStore store, SecretStore& secrets)
{
    try {
        const std::optional<Secret> key = co_await store.read(secrets, SecretPrompt::Never);
        co_return key.has_value();
    } catch (const CloudAPIKeychainError& error) {
        // A keyring that is still locked after login is no reason to forget the user's choice of provider.
        co_return error.status() && error.status()->code == SecretStatus::kInteractionNotAllowed;
    }
}

} // namespace

CloudKeys::CloudKeys(SecretStore& secrets, Preferences& preferences)
    : m_secrets(secrets)
    , m_preferences(preferences)
{
}

bool CloudKeys::isAPIKeyConfigured(AgentWritingProvider provider) const
{
    return provider == AgentWritingProvider::Local || m_configured.contains(provider);
}

void CloudKeys::setConfigured(AgentWritingProvider provider, bool configured)
{
    const bool changes = configured ? m_configured.insert(provider).second : m_configured.erase(provider) > 0;
    if (changes)
        Q_EMIT configuredCloudProvidersChanged();
}

QCoro::Task<> CloudKeys::load()
{
    const std::stop_token ended = m_lifetime.token();
    for (const CloudAPIKeychainStore& store : cloudKeychains()) {
        const bool isThere = co_await hasKey(store, m_secrets);
        if (ended.stop_requested())
            co_return;
        if (isThere && !m_decidedByUser.contains(store.provider))
            setConfigured(store.provider, true);
    }
    if (!isAPIKeyConfigured(m_preferences.agentSettings().writingProvider))
        writeLocally();
}

QCoro::Task<> CloudKeys::saveAPIKey(Secret key, AgentWritingProvider provider)
{
    const std::stop_token ended = m_lifetime.token();
    const auto store = keychain(provider);
    if (!store)
        co_return;
    co_await store->save(m_secrets, key, SecretPrompt::Allowed);
    if (ended.stop_requested())
        co_return;
    m_decidedByUser.insert(provider);
    setConfigured(provider, true);
}

QCoro::Task<> CloudKeys::removeAPIKey(AgentWritingProvider provider)
{
    const std::stop_token ended = m_lifetime.token();
    const auto store = keychain(provider);
    if (!store)
        co_return;
    co_await store->remove(m_secrets);
    if (ended.stop_requested())
        co_return;
    m_decidedByUser.insert(provider);
    setConfigured(provider, false);
    if (m_preferences.agentSettings().writingProvider == provider)
        writeLocally();
}

void CloudKeys::writeLocally()
{
    AgentSettings settings = m_preferences.agentSettings();
    settings.writingProvider = AgentWritingProvider::Local;
    m_preferences.setAgentSettings(settings);
}

QCoro::Task<std::optional<Secret>> CloudKeys::key(AgentWritingProvider provider) const
{
    const auto store = keychain(provider);
    if (!store)
        co_return std::nullopt;
    co_return co_await store->read(m_secrets, SecretPrompt::Allowed);
}

} // namespace tallowfern
