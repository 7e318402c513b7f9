#pragma once

#include "platform/SecretStore.h"

#include <gio/gio.h>

#include <memory>

namespace tallowfern {

using Cancellable = std::shared_ptr<GCancellable>;

/// The operations on the keyring, which end when it answers, be it never: the caller keeps the time. Cancelling takes
/// back a question to the user. They stand on nothing but their parameters.
QCoro::Task<SecretReading> updateItem(SecretQuery query, Secret secret, SecretPrompt prompt, Cancellable cancellable);
QCoro::Task<SecretReading> addItem(SecretQuery query, Secret secret, SecretPrompt prompt, Cancellable cancellable);
QCoro::Task<SecretReading> readItem(SecretQuery query, SecretPrompt prompt, Cancellable cancellable);
QCoro::Task<SecretReading> deleteItems(SecretQuery query, Cancellable cancellable);

} // namespace tallowfern
