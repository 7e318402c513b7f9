#include "platform/linux/secrets/SecretServiceStore.h"

#include "foundation/Completion.h"
#include "foundation/Words.h"
#include "platform/linux/secrets/SecretServiceCalls.h"

#include <QAbstractEventDispatcher>

#include <functional>

namespace tallowfern {

namespace {

constexpr double kDeadlineSeconds = 25; // the user types a password in it

using Outcome = Completion<SecretReading>;

QCoro::Task<> report(QCoro::Task<SecretReading> operation, Outcome outcome)
{
    const SecretReading reading = co_await operation;
    outcome.complete(reading);
}

QCoro::Task<> expire(Clock& clock, std::stop_source abandon, Outcome outcome, std::stop_token settled)
{
    co_await clock.sleep(kDeadlineSeconds, settled);
    if (outcome.isComplete())
        co_return;
    abandon.request_stop();
    outcome.complete({{SecretStatus::kNotAvailable, words("The keyring did not answer in time.")}, {}});
}

/// Runs `begin(abandoned)`, until the deadline or the end of the store.
QCoro::Task<SecretReading> bounded(
    Clock& clock, std::stop_token ended, std::function<QCoro::Task<SecretReading>(std::stop_token)> begin)
{
    std::stop_source abandon;
    Outcome outcome;
    std::stop_source settled;
    const std::stop_callback onEnd(ended, [settled]() mutable { settled.request_stop(); });
    expire(clock, abandon, outcome, settled.get_token());
    report(begin(abandon.get_token()), outcome);
    const SecretReading reading = co_await outcome;
    settled.request_stop();
    co_return reading;
}

QCoro::Task<SecretStatus> statusOf(QCoro::Task<SecretReading> operation)
{
    const SecretReading reading = co_await operation;
    co_return reading.status;
}

} // namespace

SecretServiceStore::SecretServiceStore(Clock& clock)
    : m_clock(clock)
{
    if (!QAbstractEventDispatcher::instance()->inherits("QEventDispatcherGlib"))
        qWarning("Keys cannot be kept: this build of Qt, or QT_NO_GLIB, leaves GLib without an event loop.");
}

QCoro::Task<SecretStatus> SecretServiceStore::update(SecretQuery query, Secret secret, SecretPrompt prompt)
{
    return statusOf(bounded(m_clock, m_lifetime.token(),
        [=](const std::stop_token& abandoned) { return updateItem(query, secret, prompt, abandoned); }));
}

QCoro::Task<SecretStatus> SecretServiceStore::add(SecretQuery query, Secret secret, SecretPrompt prompt)
{
    return statusOf(bounded(m_clock, m_lifetime.token(),
        [=](const std::stop_token& abandoned) { return addItem(query, secret, prompt, abandoned); }));
}

QCoro::Task<SecretReading> SecretServiceStore::copyMatching(SecretQuery query, SecretPrompt prompt)
{
    return bounded(m_clock, m_lifetime.token(),
        [=](const std::stop_token& abandoned) { return readItem(query, prompt, abandoned); });
}

QCoro::Task<SecretStatus> SecretServiceStore::remove(SecretQuery query)
{
    return statusOf(bounded(
        m_clock, m_lifetime.token(), [=](const std::stop_token& abandoned) { return deleteItems(query, abandoned); }));
}

} // namespace tallowfern
