#include "platform/linux/secrets/SecretServiceCalls.h"

#include "foundation/Completion.h"
#include "foundation/Words.h"

#include <libsecret/secret.h>

#include <vector>

namespace tallowfern {

namespace {

template <class T>
std::shared_ptr<T> owned(T* object)
{
    return std::shared_ptr<T>(object, [](T* each) {
        if (each)
            g_object_unref(each);
    });
}

using Service = std::shared_ptr<SecretService>;
using Item = std::shared_ptr<SecretItem>;
using Result = std::shared_ptr<GAsyncResult>;
using Attributes = std::shared_ptr<GHashTable>;

/// Thrown within this file: the end of the operation.
struct Refusal {
    SecretStatus status;
};

/// The name is not matched: a key that an earlier product, or the user with a tool, has put there has another schema.
const SecretSchema& schema()
{
    static const SecretSchema schema = [] {
        SecretSchema made{};
        made.name = "com.tallowfern.key";
        made.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
        made.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return schema;
}

Attributes attributes(const SecretQuery& query)
{
    return {secret_attributes_build(&schema(), "service", query.service.toUtf8().constData(), "account",
                query.account.toUtf8().constData(), nullptr),
        g_hash_table_unref};
}

std::shared_ptr<SecretValue> value(const Secret& secret)
{
    const QByteArray& bytes = secret.reveal();
    return {secret_value_new(bytes.constData(), bytes.size(), "text/plain"), secret_value_unref};
}

Refusal withoutService()
{
    return {{SecretStatus::kNotAvailable, words("There is no keyring service. Install one, such as GNOME Keyring.")}};
}

Refusal locked(SecretPrompt prompt)
{
    if (prompt == SecretPrompt::Never)
        return {{SecretStatus::kInteractionNotAllowed, words("The keyring is locked.")}};
    return {{SecretStatus::kUserCanceled, words("The keyring is locked, and it was not unlocked.")}};
}

/// Takes the error over.
Refusal failed(GError* error)
{
    const std::unique_ptr<GError, void (*)(GError*)> kept(error, g_error_free);
    if (g_error_matches(error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED))
        return locked(SecretPrompt::Allowed);
    g_dbus_error_strip_remote_error(error);
    return {{SecretStatus::kInternalComponent, QString::fromUtf8(error->message)}};
}

/// To be asked after whatever may have been a question to the user: what was given up must not be done later.
void requireInterest(const std::stop_token& abandoned)
{
    if (abandoned.stop_requested())
        throw Refusal{{SecretStatus::kUserCanceled, {}}};
}

void arrive(GObject*, GAsyncResult* result, gpointer data)
{
    const std::unique_ptr<Completion<Result>> asked(static_cast<Completion<Result>*>(data));
    g_object_ref(result);
    asked->complete(owned(result));
}

/// `begin(callback, data)` starts one of GLib's asynchronous calls.
template <class Begin>
Completion<Result> answerTo(Begin begin)
{
    auto asked = std::make_unique<Completion<Result>>();
    const Completion<Result> answer = *asked;
    begin(&arrive, asked.release());
    return answer;
}

QCoro::Task<Service> connect()
{
    const Result bus = co_await answerTo(
        [&](GAsyncReadyCallback callback, gpointer data) { g_bus_get(G_BUS_TYPE_SESSION, nullptr, callback, data); });
    const auto connection = owned(g_bus_get_finish(bus.get(), nullptr));
    if (!connection)
        throw withoutService();
    // By default the end of the session's bus would end the application, in the middle of whatever it saves.
    g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
    const Result answer = co_await answerTo([&](GAsyncReadyCallback callback, gpointer data) {
        // Not the shared one, which keeps the session of a keyring that has been started again since.
        secret_service_open(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, nullptr, callback, data);
    });
    const Service service = owned(secret_service_open_finish(answer.get(), nullptr));
    if (!service)
        throw withoutService();
    co_return service;
}

/// At least one item, and all of them unlocked.
QCoro::Task<std::vector<Item>> find(
    Service service, SecretQuery query, SecretSearchFlags flags, SecretPrompt prompt, std::stop_token abandoned)
{
    const int unlock = prompt == SecretPrompt::Allowed ? SECRET_SEARCH_UNLOCK : SECRET_SEARCH_NONE;
    const auto allFlags = static_cast<SecretSearchFlags>(flags | unlock);
    const Attributes wanted = attributes(query);
    const Result answer = co_await answerTo([&](GAsyncReadyCallback callback, gpointer data) {
        secret_service_search(service.get(), &schema(), wanted.get(), allFlags, nullptr, callback, data);
    });
    GError* error = nullptr;
    GList* const list = secret_service_search_finish(service.get(), answer.get(), &error);
    if (error)
        throw failed(error);
    std::vector<Item> items;
    for (GList* each = list; each; each = each->next)
        items.push_back(owned(static_cast<SecretItem*>(each->data)));
    g_list_free(list);
    if (items.empty())
        throw Refusal{{SecretStatus::kItemNotFound, {}}};
    for (const Item& item : items) {
        if (secret_item_get_locked(item.get()))
            throw locked(prompt);
    }
    requireInterest(abandoned);
    co_return items;
}

QCoro::Task<> unlock(Service service, std::shared_ptr<SecretCollection> keyring)
{
    GList only{keyring.get(), nullptr, nullptr};
    const Result answer = co_await answerTo([&](GAsyncReadyCallback callback, gpointer data) {
        secret_service_unlock(service.get(), &only, nullptr, callback, data);
    });
    GError* error = nullptr;
    const int count = secret_service_unlock_finish(service.get(), answer.get(), nullptr, &error);
    if (error)
        throw failed(error);
    if (count == 0)
        throw locked(SecretPrompt::Allowed);
}

/// Readies the keyring that takes new items. Where there is none, adding one makes it, with a question to the user.
QCoro::Task<> openDefaultKeyring(Service service, SecretPrompt prompt, std::stop_token abandoned)
{
    const Result answer = co_await answerTo([&](GAsyncReadyCallback callback, gpointer data) {
        secret_collection_for_alias(
            service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, callback, data);
    });
    GError* error = nullptr;
    const auto keyring = owned(secret_collection_for_alias_finish(answer.get(), &error));
    if (error)
        throw failed(error);
    const bool isOpen = keyring && !secret_collection_get_locked(keyring.get());
    if (!isOpen && prompt == SecretPrompt::Never)
        throw locked(prompt);
    if (!isOpen && keyring)
        co_await unlock(service, keyring);
    requireInterest(abandoned);
}

} // namespace

QCoro::Task<SecretReading> updateItem(SecretQuery query, Secret secret, SecretPrompt prompt, std::stop_token abandoned)
{
    try {
        const Service service = co_await connect();
        const std::vector<Item> items = co_await find(service, query, SECRET_SEARCH_NONE, prompt, abandoned);
        const auto bytes = value(secret);
        const Result answer = co_await answerTo([&](GAsyncReadyCallback callback, gpointer data) {
            secret_item_set_secret(items.front().get(), bytes.get(), nullptr, callback, data);
        });
        GError* error = nullptr;
        if (!secret_item_set_secret_finish(items.front().get(), answer.get(), &error))
            throw failed(error);
    } catch (const Refusal& refusal) {
        co_return SecretReading{refusal.status, {}};
    }
    co_return SecretReading();
}

QCoro::Task<SecretReading> addItem(SecretQuery query, Secret secret, SecretPrompt prompt, std::stop_token abandoned)
{
    try {
        const Service service = co_await connect();
        co_await openDefaultKeyring(service, prompt, abandoned);
        const auto bytes = value(secret);
        const Attributes wanted = attributes(query);
        const QByteArray label = "Tallowfern: " + query.account.toUtf8();
        const Result answer = co_await answerTo([&](GAsyncReadyCallback callback, gpointer data) {
            secret_service_store(service.get(), &schema(), wanted.get(), SECRET_COLLECTION_DEFAULT, label.constData(),
                bytes.get(), nullptr, callback, data);
        });
        GError* error = nullptr;
        if (!secret_service_store_finish(service.get(), answer.get(), &error))
            throw error ? failed(error) : locked(prompt);
    } catch (const Refusal& refusal) {
        co_return SecretReading{refusal.status, {}};
    }
    co_return SecretReading();
}

QCoro::Task<SecretReading> readItem(SecretQuery query, SecretPrompt prompt, std::stop_token abandoned)
{
    try {
        const Service service = co_await connect();
        const std::vector<Item> items = co_await find(service, query, SECRET_SEARCH_LOAD_SECRETS, prompt, abandoned);
        const std::unique_ptr<SecretValue, void (*)(gpointer)> held(
            secret_item_get_secret(items.front().get()), secret_value_unref);
        if (!held)
            throw locked(prompt);
        gsize size = 0;
        const char* const bytes = secret_value_get(held.get(), &size);
        co_return SecretReading{{}, Secret(QByteArray(bytes, static_cast<qsizetype>(size)))};
    } catch (const Refusal& refusal) {
        co_return SecretReading{refusal.status, {}};
    }
}

QCoro::Task<SecretReading> deleteItems(SecretQuery query, std::stop_token abandoned)
{
    try {
        const Service service = co_await connect();
        const std::vector<Item> items
            = co_await find(service, query, SECRET_SEARCH_ALL, SecretPrompt::Allowed, abandoned);
        for (const Item& item : items) {
            const Result answer = co_await answerTo([&](GAsyncReadyCallback callback, gpointer data) {
                secret_item_delete(item.get(), nullptr, callback, data);
            });
            GError* error = nullptr;
            if (!secret_item_delete_finish(item.get(), answer.get(), &error))
                throw error ? failed(error) : locked(SecretPrompt::Allowed);
        }
    } catch (const Refusal& refusal) {
        co_return SecretReading{refusal.status, {}};
    }
    co_return SecretReading();
}

} // namespace tallowfern
