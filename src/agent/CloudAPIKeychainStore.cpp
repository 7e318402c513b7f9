#include "agent/CloudAPIKeychainStore.h"

#include "agent/CloudAPIKeychainError.h"

#include <QStringDecoder>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr int kFewestCharacters = 20;

int characterCount(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() > 0)
        ++count;
    return count;
}

bool isText(const QByteArray& utf8)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(utf8);
    return !text.isEmpty() && !decoder.hasError();
}

} // namespace

const QList<CloudAPIKeychainStore>& cloudKeychains()
{
    using Provider = AgentWritingProvider;
    static const QList<CloudAPIKeychainStore> stores{
        {Provider::OpenAI, u"com.tallowfern.local.openai-api"_s, u"com.quorvane.plus.openai-api"_s,
            u"OPENAI_API_KEY"_s},
        {Provider::Gemini, u"com.tallowfern.local.gemini-api"_s, std::nullopt, u"GEMINI_API_KEY"_s},
        {Provider::Mistral, u"com.tallowfern.local.mistral-api"_s, std::nullopt, u"MISTRAL_API_KEY"_s},
    };
    return stores;
}

Secret CloudAPIKeychainStore::checked(const Secret& key) const
{
    const QString trimmed = QString::fromUtf8(key.reveal()).trimmed();
    const bool hasBlank = std::any_of(trimmed.begin(), trimmed.end(), [](QChar each) { return each.isSpace(); });
    const bool lacksPrefix = provider == AgentWritingProvider::OpenAI && !trimmed.startsWith(u"sk-"_s);
    if (characterCount(trimmed) < kFewestCharacters || hasBlank || lacksPrefix
        || provider == AgentWritingProvider::Local)
        throw CloudAPIKeychainError::invalidKey(provider);
    return Secret(trimmed.toUtf8());
}

QCoro::Task<> CloudAPIKeychainStore::save(SecretStore& secrets, Secret key, SecretPrompt prompt) const
{
    const Secret kept = checked(key);
    SecretStatus status = co_await secrets.update(query(service), kept, prompt);
    if (status.code == SecretStatus::kItemNotFound)
        status = co_await secrets.add(query(service), kept, prompt);
    if (status.code != SecretStatus::kSuccess)
        throw CloudAPIKeychainError::operationFailed(provider, status);
}

QCoro::Task<std::optional<Secret>> CloudAPIKeychainStore::load(
    SecretStore& secrets, QString where, SecretPrompt prompt) const
{
    const SecretReading reading = co_await secrets.copyMatching(query(where), prompt);
    if (reading.status.code == SecretStatus::kItemNotFound)
        co_return std::nullopt;
    if (reading.status.code != SecretStatus::kSuccess || !isText(reading.secret.reveal()))
        throw CloudAPIKeychainError::operationFailed(provider, reading.status);
    co_return reading.secret;
}

QCoro::Task<std::optional<Secret>> CloudAPIKeychainStore::read(SecretStore& secrets, SecretPrompt prompt) const
{
    std::optional<Secret> key = co_await load(secrets, service, prompt);
    if (key || !legacyService)
        co_return key;
    key = co_await load(secrets, *legacyService, prompt);
    if (key)
        co_await save(secrets, *key, prompt);
    co_return key;
}

QCoro::Task<> CloudAPIKeychainStore::removeItem(SecretStore& secrets, QString where) const
{
    const SecretStatus status = co_await secrets.remove(query(where));
    if (status.code != SecretStatus::kSuccess && status.code != SecretStatus::kItemNotFound)
        throw CloudAPIKeychainError::operationFailed(provider, status);
}

QCoro::Task<> CloudAPIKeychainStore::remove(SecretStore& secrets) const
{
    co_await removeItem(secrets, service);
    if (legacyService)
        co_await removeItem(secrets, *legacyService);
}

} // namespace tallowfern
