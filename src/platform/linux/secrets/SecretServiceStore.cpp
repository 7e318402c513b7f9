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

QCoro::Task<> expire(Clock& clock, Cancellable cancellable, Outcome outcome, std::stop_token settled)
{
    co_await clock.sleep(kDeadlineSeconds, settled);
    if (outcome.isComplete())
        co_return;
    // The answer is given here: a keyring that hangs does not answer the cancelling either.
    g_cancellable_cancel(cancellable.get());
    outcome.complete({{SecretStatus::kNotAvailable, words("The keyring did not answer in time.")}, {}});
}

/// Runs `begin(cancellable)`, until the deadline or the end of the store.
QCoro::Task<SecretReading> bounded(
    Clock& clock, std::stop_token ended, std::function<QCoro::Task<SecretReading>(Cancellable)> begin)
{
    const Cancellable cancellable(g_cancellable_new(), g_object_unref);
    Outcome outcome;
    std::stop_source settled;
    const std::stop_callback onEnd(ended, [settled]() mutable { settled.request_stop(); });
    expire(clock, cancellable, outcome, settled.get_token());
    report(begin(cancellable), outcome);
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
        [=](const Cancellable& cancellable) { return updateItem(query, secret, prompt, cancellable); }));
}

QCoro::Task<SecretStatus> SecretServiceStore::add(SecretQuery query, Secret secret, SecretPrompt prompt)
{
    return statusOf(bounded(m_clock, m_lifetime.token(),
        [=](const Cancellable& cancellable) { return addItem(query, secret, prompt, cancellable); }));
}

QCoro::Task<SecretReading> SecretServiceStore::copyMatching(SecretQuery query, SecretPrompt prompt)
{
    return bounded(m_clock, m_lifetime.token(),
        [=](const Cancellable& cancellable) { return readItem(query, prompt, cancellable); });
}

QCoro::Task<SecretStatus> SecretServiceStore::remove(SecretQuery query)
{
    return statusOf(bounded(
        m_clock, m_lifetime.token(), [=](const Cancellable& cancellable) { return deleteItems(query, cancellable); }));
}

} // namespace tallowfern
