#pragma once

#include "agent/protocol/AgentTypes.h"
#include "platform/SecretStore.h"

#include <QList>

namespace tallowfern {

/// Where the key of one cloud provider lies in the secret store. Has no state of its own. The operations need the
/// record and the store until they have ended, and throw CloudAPIKeychainError. Main thread.
struct CloudAPIKeychainStore {
    AgentWritingProvider provider = AgentWritingProvider::Local;
    QString service;
    std::optional<QString> legacyService; ///< of the earlier product; its item stays until the key is removed
    QString account;

    /// Checks the key, and keeps it without the blanks around it. A failure leaves the old key.
    QCoro::Task<> save(SecretStore& secrets, Secret key, SecretPrompt prompt) const;
    /// The key, if there is one; one of the earlier product is copied here first.
    QCoro::Task<std::optional<Secret>> read(SecretStore& secrets, SecretPrompt prompt) const;
    /// Succeeds also when there is no key.
    QCoro::Task<> remove(SecretStore& secrets) const;

private:
    QCoro::Task<std::optional<Secret>> load(SecretStore& secrets, QString where, SecretPrompt prompt) const;
    QCoro::Task<> removeItem(SecretStore& secrets, QString where) const;
    SecretQuery query(const QString& where) const { return {where, account}; }
    /// The key as it is kept. Throws when it cannot be one.
    Secret checked(const Secret& key) const;
};

/// One for each cloud provider, in the order in which they are shown.
const QList<CloudAPIKeychainStore>& cloudKeychains();

} // namespace tallowfern
