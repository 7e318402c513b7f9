#include "agent/CloudAPIKeychainError.h"
#include "core/CloudKeys.h"
#include "fakes/FakePreferenceStore.h"
#include "fakes/FakeSecretStore.h"
#include "fakes/VirtualClock.h"
#include "support/Await.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using testing_support::start;
using Provider = AgentWritingProvider;
using Providers = std::set<Provider>;

const QString kOpenAI = u"com.tallowfern.local.openai-api/OPENAI_API_KEY"_s;
const QString kLegacy = u"com.quorvane.plus.openai-api/OPENAI_API_KEY"_s;
const QString kGemini = u"com.tallowfern.local.gemini-api/GEMINI_API_KEY"_s;
const QString kMistral = u"com.tallowfern.local.mistral-api/MISTRAL_API_KEY"_s;
const QByteArray kKey = "sk-12345678901234567";

class CloudKeysTest : public testing::Test {
protected:
    CloudKeysTest()
    {
        QObject::connect(m_keys.get(), &CloudKeys::configuredCloudProvidersChanged, [this] { ++m_changes; });
    }

    void load() { start(m_keys->load()).value(); }
    Providers configured() const { return m_keys->configuredCloudProviders(); }
    void writesWith(Provider provider)
    {
        AgentSettings settings = m_preferences.agentSettings();
        settings.writingProvider = provider;
        settings.selectedOpenAIModelID = u"chosen"_s;
        m_preferences.setAgentSettings(settings);
    }

    VirtualClock m_clock;
    FakeSecretStore m_secrets{m_clock};
    FakePreferenceStore m_store;
    Preferences m_preferences{m_store, {}};
    std::unique_ptr<CloudKeys> m_keys = std::make_unique<CloudKeys>(m_secrets, m_preferences);
    int m_changes = 0;
};

TEST_F(CloudKeysTest, ListsAtStartWhoHasAKeyWithoutAQuestion)
{
    m_secrets.items = {{kLegacy, kKey}, {kGemini, kKey}, {kMistral, kKey}};
    m_secrets.refusals[u"copy "_s + kMistral] = -7;
    load();
    EXPECT_EQ(configured(), Providers({Provider::OpenAI, Provider::Gemini}));
    EXPECT_EQ(m_secrets.items.at(kOpenAI), kKey);
    EXPECT_TRUE(m_keys->isAPIKeyConfigured(Provider::Local));
    EXPECT_FALSE(m_keys->isAPIKeyConfigured(Provider::Mistral));

    m_secrets.refusals.clear();
    m_secrets.isLocked = true;
    m_secrets.userUnlocks = true;
    m_keys = std::make_unique<CloudKeys>(m_secrets, m_preferences);
    load();
    EXPECT_EQ(configured(), Providers({Provider::OpenAI, Provider::Gemini, Provider::Mistral}));
    EXPECT_EQ(m_secrets.questions, 0);
    EXPECT_EQ(start(m_keys->key(Provider::Gemini)).value(), Secret(kKey));
    EXPECT_EQ(m_secrets.questions, 1);
}

TEST_F(CloudKeysTest, WritesLocallyWhenTheKeyOfTheProviderIsGone)
{
    writesWith(Provider::OpenAI);
    m_secrets.isLocked = true; // tells nothing
    m_secrets.items = {{kOpenAI, kKey}};
    load();
    EXPECT_EQ(m_preferences.agentSettings().writingProvider, Provider::OpenAI);
    m_secrets.isLocked = false;
    m_secrets.items.clear();
    m_keys = std::make_unique<CloudKeys>(m_secrets, m_preferences);
    load();
    EXPECT_EQ(m_preferences.agentSettings().writingProvider, Provider::Local);
    EXPECT_EQ(m_preferences.agentSettings().selectedOpenAIModelID, u"chosen"_s);
}

TEST_F(CloudKeysTest, LeavesOutAnEarlierKeyThatCannotBeCarriedOver)
{
    m_secrets.items[kLegacy] = "sk-too-short";
    load();
    m_secrets.items[kLegacy] = kKey;
    m_secrets.refusals[u"add "_s + kOpenAI] = -7;
    load();
    EXPECT_EQ(configured(), Providers());
    EXPECT_EQ(m_changes, 0);
}

TEST_F(CloudKeysTest, SavesAndRemovesForTheUser)
{
    writesWith(Provider::OpenAI);
    start(m_keys->saveAPIKey(Secret(kKey), Provider::OpenAI)).value();
    start(m_keys->saveAPIKey(Secret(kKey), Provider::Gemini)).value();
    start(m_keys->saveAPIKey(Secret(kKey), Provider::Local)).value();
    EXPECT_EQ(configured(), Providers({Provider::OpenAI, Provider::Gemini}));
    EXPECT_THROW(start(m_keys->saveAPIKey(Secret("bad"), Provider::Mistral)).value(), CloudAPIKeychainError);
    EXPECT_EQ(m_changes, 2);

    start(m_keys->removeAPIKey(Provider::Gemini)).value();
    start(m_keys->removeAPIKey(Provider::Mistral)).value();
    start(m_keys->removeAPIKey(Provider::Local)).value();
    EXPECT_EQ(m_preferences.agentSettings().writingProvider, Provider::OpenAI);

    m_secrets.refusals[u"remove "_s + kLegacy] = -7;
    EXPECT_THROW(start(m_keys->removeAPIKey(Provider::OpenAI)).value(), CloudAPIKeychainError);
    EXPECT_EQ(configured(), Providers({Provider::OpenAI}));
    EXPECT_EQ(m_preferences.agentSettings().writingProvider, Provider::OpenAI);

    m_secrets.refusals.clear();
    start(m_keys->removeAPIKey(Provider::OpenAI)).value();
    EXPECT_EQ(configured(), Providers());
    const AgentSettings stored = Preferences(m_store, {}).agentSettings();
    EXPECT_EQ(stored.writingProvider, Provider::Local);
    EXPECT_EQ(stored.selectedOpenAIModelID, u"chosen"_s);
    EXPECT_EQ(start(m_keys->key(Provider::OpenAI)).value(), std::nullopt);
    EXPECT_EQ(start(m_keys->key(Provider::Local)).value(), std::nullopt);
}

TEST_F(CloudKeysTest, DoesNotUndoAtASlowStartWhatTheUserDidMeanwhile)
{
    m_secrets.items[kOpenAI] = kKey;
    m_secrets.seconds = 5;
    const auto loading = start(m_keys->load());
    m_secrets.seconds = 0;
    start(m_keys->removeAPIKey(Provider::OpenAI)).value();
    m_secrets.items[kOpenAI] = kKey; // what the search had found already
    m_clock.advance(5);
    loading.value();
    EXPECT_EQ(configured(), Providers());
}

TEST_F(CloudKeysTest, EndsQuietlyWhenItsOwnerGoesFirst)
{
    m_secrets.items[kOpenAI] = kKey;
    m_secrets.seconds = 5;
    const auto loading = start(m_keys->load());
    const auto saving = start(m_keys->saveAPIKey(Secret(kKey), Provider::Gemini));
    const auto removing = start(m_keys->removeAPIKey(Provider::OpenAI));
    m_keys.reset();
    m_clock.advance(20);
    EXPECT_TRUE(loading.isDone() && saving.isDone() && removing.isDone());
    EXPECT_EQ(m_secrets.items, (std::map<QString, QByteArray>{{kGemini, kKey}}));
}

} // namespace
} // namespace tallowfern
