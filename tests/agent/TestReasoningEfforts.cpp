#include "agent/ReasoningEfforts.h"

#include <gmock/gmock.h>

#include <QSet>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using Effort = AgentReasoningEffort;
using Provider = AgentWritingProvider;

constexpr std::array kProviders{Provider::Local, Provider::OpenAI, Provider::Gemini, Provider::Mistral};

TEST(ReasoningEfforts, EachProviderOffersItsOwn)
{
    const auto offered = [](Provider provider) {
        QStringList names;
        for (const Effort effort : reasoningEfforts(provider))
            names.append(enumToString(effort) + u'=' + label(effort));
        return names.join(u' ');
    };
    EXPECT_EQ(offered(Provider::Local), QString());
    EXPECT_EQ(offered(Provider::OpenAI),
        u"automatic=Automatic none=Instant low=Quick medium=Balanced high=Thorough xhigh=Deep max=Max"_s);
    EXPECT_EQ(
        offered(Provider::Gemini), u"automatic=Automatic minimal=Instant low=Quick medium=Balanced high=Thorough"_s);
    EXPECT_EQ(offered(Provider::Mistral), u"automatic=Automatic none=Instant high=Thorough"_s);

    QSet<QString> automatic;
    for (const Provider provider : kProviders)
        automatic.insert(detail(Effort::Automatic, provider));
    EXPECT_EQ(automatic.size(), 4);
    EXPECT_EQ(detail(Effort::None, Provider::OpenAI), u"No extra thinking — the fastest responses"_s);
    EXPECT_EQ(detail(Effort::Minimal, Provider::Gemini), detail(Effort::None, Provider::OpenAI));
}

TEST(ReasoningEfforts, OnlyWhatIsOfferedIsKeptAndOnlyForItsProvider)
{
    for (const Provider provider : kProviders) {
        for (const auto& [effort, name] : enumStrings(Effort{})) {
            AgentSettings settings;
            setReasoningEffort(settings, provider, effort);
            const bool isOffered = reasoningEfforts(provider).contains(effort);
            EXPECT_EQ(reasoningEffort(settings, provider), isOffered ? effort : Effort::Automatic) << name;
            for (const Provider other : kProviders) {
                const bool isElsewhere = other != provider && reasoningEffort(settings, other) != Effort::Automatic;
                EXPECT_FALSE(isElsewhere) << name;
            }
        }
    }
}

} // namespace
} // namespace tallowfern
