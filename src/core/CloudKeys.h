#pragma once

#include "agent/CloudAPIKeychainStore.h"
#include "core/Preferences.h"
#include "foundation/Lifetime.h"

#include <QObject>

#include <set>

namespace tallowfern {

/// The user's own keys for cloud writing models, and who has one. A key is kept in the secret store only. Main thread.
class CloudKeys : public QObject {
    Q_OBJECT
    Q_PROPERTY(std::set<AgentWritingProvider> configuredCloudProviders READ configuredCloudProviders NOTIFY
            configuredCloudProvidersChanged)
public:
    /// Nobody is configured until load() has ended.
    CloudKeys(SecretStore& secrets, Preferences& preferences);

    /// Never contains Local.
    const std::set<AgentWritingProvider>& configuredCloudProviders() const { return m_configured; }
    /// Always so for Local.
    bool isAPIKeyConfigured(AgentWritingProvider provider) const;

    /// To be called once, at start. Asks the user nothing: a key in a locked keyring is taken for one. Failures are
    /// swallowed, and leave the provider out. Writes on with the models on this computer, if the provider in force has
    /// no key any more.
    QCoro::Task<> load();
    /// Throws CloudAPIKeychainError, as the next two do; nothing has changed then. Nothing happens for Local.
    QCoro::Task<> saveAPIKey(Secret key, AgentWritingProvider provider);
    /// Writes on with the models on this computer, if the provider was the one in force.
    QCoro::Task<> removeAPIKey(AgentWritingProvider provider);
    /// For one run: may ask the user to unlock the keyring.
    QCoro::Task<std::optional<Secret>> key(AgentWritingProvider provider) const;

Q_SIGNALS:
    void configuredCloudProvidersChanged();

private:
    void writeLocally();
    void setConfigured(AgentWritingProvider provider, bool configured);

    SecretStore& m_secrets;
    Preferences& m_preferences;
    std::set<AgentWritingProvider> m_configured;
    std::set<AgentWritingProvider> m_decidedByUser; ///< saved or removed, so that a slow load() does not undo it
    Lifetime m_lifetime;
};

} // namespace tallowfern
