#pragma once

#include "platform/SecretStore.h"

#include <stop_token>

namespace tallowfern {

/// The operations on the keyring, which end when it answers, be it never: the caller keeps the time, and stops the
/// token when it waits no more. Then nothing is done any more, but a question to the user stays: GNOME Keyring 42 dies
/// when one is taken back. They stand on nothing but their parameters.
QCoro::Task<SecretReading> updateItem(SecretQuery query, Secret secret, SecretPrompt prompt, std::stop_token abandoned);
QCoro::Task<SecretReading> addItem(SecretQuery query, Secret secret, SecretPrompt prompt, std::stop_token abandoned);
QCoro::Task<SecretReading> readItem(SecretQuery query, SecretPrompt prompt, std::stop_token abandoned);
QCoro::Task<SecretReading> deleteItems(SecretQuery query, std::stop_token abandoned);

} // namespace tallowfern
