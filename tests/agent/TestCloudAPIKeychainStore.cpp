#include "agent/CloudAPIKeychainError.h"
#include "agent/CloudAPIKeychainStore.h"
#include "fakes/FakeSecretStore.h"
#include "fakes/VirtualClock.h"
#include "support/Await.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using testing_support::start;
using Provider = AgentWritingProvider;

const QString kItem = u"com.tallowfern.local.openai-api/OPENAI_API_KEY"_s;
const QString kLegacyItem = u"com.quorvane.plus.openai-api/OPENAI_API_KEY"_s;
const QByteArray kKey = "sk-12345678901234567";

class CloudAPIKeychainStoreTest : public testing::Test {
protected:
    static CloudAPIKeychainStore store(Provider provider)
    {
        for (const CloudAPIKeychainStore& each : cloudKeychains()) {
            if (each.provider == provider)
                return each;
        }
        return {};
    }

    /// The sentence of the failure, or nothing.
    QString save(Provider provider, const QByteArray& key)
    {
        const CloudAPIKeychainStore record = store(provider);
        return failureOf(start(record.save(m_secrets, Secret(key), SecretPrompt::Allowed)));
    }
    template <class T>
    static QString failureOf(testing_support::Outcome<T> outcome)
    {
        try {
            outcome.value();
        } catch (const CloudAPIKeychainError& error) {
            return error.description();
        }
        return {};
    }
    QByteArray read()
    {
        const auto key = start(m_openAI.read(m_secrets, SecretPrompt::Allowed)).value();
        return key ? key->reveal() : QByteArray("(none)");
    }

    VirtualClock m_clock;
    FakeSecretStore m_secrets{m_clock};
    const CloudAPIKeychainStore m_openAI = store(Provider::OpenAI);
};

TEST_F(CloudAPIKeychainStoreTest, TakesOnlyWhatCanBeAKey)
{
    const QString badOpenAI = u"Enter a valid OpenAI API key beginning with sk-."_s;
    const QString badGemini = u"Enter a valid Gemini API key."_s;
    const QString badMistral = u"Enter a valid Mistral API key."_s;
    const struct {
        Provider provider;
        QByteArray key;
        QString failure;
    } cases[] = {
        {Provider::OpenAI, kKey, {}},
        {Provider::OpenAI, "sk-1234567890123456", badOpenAI},
        {Provider::OpenAI, "SK-12345678901234567", badOpenAI},
        {Provider::OpenAI, "sk-1234567890 1234567", badOpenAI},
        {Provider::Gemini, "SK-12345678901234567", {}},
        {Provider::Gemini, "1234567890123456789", badGemini},
        {Provider::Gemini, "12345678901234567890\n1", badGemini},
        {Provider::Gemini, "   1234567890123456789\n", badGemini},
        {Provider::Gemini,
            "1234567890\xc2\xa0"
            "1234567890",
            badGemini},
        {Provider::Mistral, "12345678901234567890", {}},
        {Provider::Mistral,
            "e\xcc\x81"
            "234567890123456789",
            badMistral},
        {Provider::Mistral, "", badMistral},
        {Provider::Local, kKey, u"Enter a valid Local API key."_s},
    };
    for (const auto& [provider, key, failure] : cases) {
        m_secrets.calls.clear();
        EXPECT_EQ(save(provider, key), failure) << key.constData();
        EXPECT_EQ(m_secrets.calls.isEmpty(), !failure.isEmpty()) << key.constData();
    }
}

TEST_F(CloudAPIKeychainStoreTest, KeepsTheTrimmedKeyAndReplacesTheOldOne)
{
    EXPECT_EQ(save(Provider::OpenAI, " \t" + kKey + "\r\n"), QString());
    EXPECT_EQ(m_secrets.items.at(kItem), kKey);
    EXPECT_EQ(m_secrets.calls, QStringList({u"update "_s + kItem, u"add "_s + kItem}));

    m_secrets.calls.clear();
    EXPECT_EQ(save(Provider::OpenAI, kKey + "2"), QString());
    EXPECT_EQ(m_secrets.items.at(kItem), kKey + "2");
    EXPECT_EQ(m_secrets.calls, QStringList({u"update "_s + kItem}));
}

TEST_F(CloudAPIKeychainStoreTest, PassesOnWhatTheStoreRefuses)
{
    const QString failure = u"The OpenAI API key could not be updated in Keychain: Status -7."_s;
    m_secrets.refusals[u"add "_s + kItem] = -7;
    EXPECT_EQ(save(Provider::OpenAI, kKey), failure);

    m_secrets.items[kItem] = kKey;
    m_secrets.refusals = {{u"update "_s + kItem, -7}, {u"copy "_s + kItem, -7}, {u"remove "_s + kItem, -7}};
    m_secrets.items[kLegacyItem] = kKey;
    EXPECT_EQ(save(Provider::OpenAI, kKey + "2"), failure);
    EXPECT_EQ(failureOf(start(m_openAI.read(m_secrets, SecretPrompt::Allowed))), failure);
    EXPECT_EQ(failureOf(start(m_openAI.remove(m_secrets))), failure);
    EXPECT_EQ(m_secrets.items.at(kItem), kKey);
    EXPECT_TRUE(m_secrets.items.contains(kLegacyItem));

    m_secrets.refusals.clear();
    m_secrets.isLocked = true;
    EXPECT_EQ(save(Provider::OpenAI, kKey + "2"), u"The OpenAI API key could not be updated in Keychain."_s);
    EXPECT_EQ(m_secrets.questions, 1);
}

TEST_F(CloudAPIKeychainStoreTest, ReadsOnlyKeysThatAreText)
{
    for (const QByteArray& bytes : {QByteArray(), QByteArray("sk-\xff\xfe 901234567890123"), QByteArray("sk-1\xc3")}) {
        m_secrets.items[kItem] = bytes;
        EXPECT_EQ(failureOf(start(m_openAI.read(m_secrets, SecretPrompt::Allowed))),
            u"The OpenAI API key could not be updated in Keychain."_s);
    }
    m_secrets.items[kItem] = "short";
    EXPECT_EQ(read(), "short");
}

TEST_F(CloudAPIKeychainStoreTest, CarriesTheEarlierKeyOverAndLeavesItUntilTheRemoval)
{
    EXPECT_EQ(read(), "(none)");
    m_secrets.items[kLegacyItem] = kKey;
    EXPECT_EQ(read(), kKey);
    EXPECT_EQ(m_secrets.items.at(kItem), kKey);
    EXPECT_EQ(m_secrets.items.at(kLegacyItem), kKey);
    EXPECT_EQ(failureOf(start(m_openAI.remove(m_secrets))), QString());
    EXPECT_TRUE(m_secrets.items.empty());
    EXPECT_EQ(failureOf(start(m_openAI.remove(m_secrets))), QString());

    m_secrets.items[kLegacyItem] = "sk-too-short";
    EXPECT_EQ(failureOf(start(m_openAI.read(m_secrets, SecretPrompt::Allowed))),
        u"Enter a valid OpenAI API key beginning with sk-."_s);
}

} // namespace
} // namespace tallowfern
