#pragma once

#include "foundation/Clock.h"
#include "foundation/Lifetime.h"
#include "platform/SecretStore.h"

#include <QStringList>

#include <map>

namespace tallowfern {

/// Secrets in memory, by service and account. It can be locked, with a user who unlocks it or does not, refuse single
/// operations, and take its time.
class FakeSecretStore final : public SecretStore {
public:
    explicit FakeSecretStore(Clock& clock)
        : m_clock(clock)
    {
    }

    std::map<QString, QByteArray> items; ///< by "service/account"
    QStringList calls; ///< such as "update service/account"
    std::map<QString, qint32> refusals; ///< the status of the calls written as above
    bool isLocked = false;
    bool userUnlocks = false;
    int questions = 0; ///< to the user
    double seconds = 0; ///< that each operation takes

    QCoro::Task<SecretStatus> update(SecretQuery query, Secret secret, SecretPrompt prompt) override
    {
        const SecretStatus status = co_await begin(QStringLiteral("update "), query, prompt);
        if (status.code == SecretStatus::kSuccess)
            items[name(query)] = secret.reveal();
        co_return status;
    }
    QCoro::Task<SecretStatus> add(SecretQuery query, Secret secret, SecretPrompt prompt) override
    {
        const SecretStatus status = co_await begin(QStringLiteral("add "), query, prompt);
        if (status.code == SecretStatus::kSuccess)
            items[name(query)] = secret.reveal();
        co_return status;
    }
    QCoro::Task<SecretReading> copyMatching(SecretQuery query, SecretPrompt prompt) override
    {
        SecretReading reading;
        reading.status = co_await begin(QStringLiteral("copy "), query, prompt);
        if (reading.status.code == SecretStatus::kSuccess)
            reading.secret = Secret(items.at(name(query)));
        co_return reading;
    }
    QCoro::Task<SecretStatus> remove(SecretQuery query) override
    {
        const SecretStatus status = co_await begin(QStringLiteral("remove "), query, SecretPrompt::Allowed);
        if (status.code == SecretStatus::kSuccess)
            items.erase(name(query));
        co_return status;
    }

private:
    static QString name(const SecretQuery& query) { return query.service + QLatin1Char('/') + query.account; }

    QCoro::Task<SecretStatus> begin(QString verb, SecretQuery query, SecretPrompt prompt)
    {
        const std::stop_token ended = m_lifetime.token();
        const QString call = verb + name(query);
        calls.append(call);
        if (seconds > 0)
            co_await m_clock.sleep(seconds, ended);
        if (ended.stop_requested())
            co_return SecretStatus{SecretStatus::kNotAvailable, {}};
        if (const auto refused = refusals.find(call); refused != refusals.end())
            co_return SecretStatus{refused->second, QStringLiteral("Status %1.").arg(refused->second)};
        const bool isThere = items.contains(name(query));
        if (!isThere && verb != QLatin1String("add "))
            co_return SecretStatus{SecretStatus::kItemNotFound, {}};
        if (isLocked && prompt == SecretPrompt::Never)
            co_return SecretStatus{SecretStatus::kInteractionNotAllowed, {}};
        if (isLocked) {
            ++questions;
            isLocked = !userUnlocks;
        }
        co_return SecretStatus{isLocked ? SecretStatus::kUserCanceled : SecretStatus::kSuccess, {}};
    }

    Clock& m_clock;
    Lifetime m_lifetime;
};

} // namespace tallowfern
