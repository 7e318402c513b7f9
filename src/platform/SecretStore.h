#pragma once

#include "foundation/Secret.h"

#include <QString>

#include <QCoroTask>

#include <optional>

namespace tallowfern {

/// Which secret is meant.
struct SecretQuery {
    QString service;
    QString account;

    bool operator==(const SecretQuery&) const = default;
};

/// What became of an operation: its number, and the platform's sentence for it where it has one.
struct SecretStatus {
    static constexpr qint32 kSuccess = 0;
    static constexpr qint32 kUserCanceled = -128; ///< the user did not unlock the store
    static constexpr qint32 kInternalComponent = -2070; ///< whatever else the store says
    static constexpr qint32 kNotAvailable = -25291; ///< there is no store, or it does not answer
    static constexpr qint32 kItemNotFound = -25300;
    static constexpr qint32 kInteractionNotAllowed = -25308; ///< locked, and SecretPrompt::Never

    qint32 code = kSuccess;
    std::optional<QString> text;
};

/// What a reading brought: the secret with kSuccess only.
struct SecretReading {
    SecretStatus status;
    Secret secret;
};

/// Whether the user may be asked to unlock the store.
enum class SecretPrompt { Allowed, Never };

/// The desktop's safe for secrets, which opens only while the user is there and does not leave this computer.
/// Main thread. Every operation ends after 25 seconds at the latest, and when the store is destroyed, with a failure.
class SecretStore {
public:
    virtual ~SecretStore() = default;

    /// Replaces the secret of an item that is there.
    virtual QCoro::Task<SecretStatus> update(SecretQuery query, Secret secret, SecretPrompt prompt) = 0;
    virtual QCoro::Task<SecretStatus> add(SecretQuery query, Secret secret, SecretPrompt prompt) = 0;
    virtual QCoro::Task<SecretReading> copyMatching(SecretQuery query, SecretPrompt prompt) = 0;
    virtual QCoro::Task<SecretStatus> remove(SecretQuery query) = 0;
};

} // namespace tallowfern
