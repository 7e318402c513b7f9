#include "agent/AgentSettings.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;

TEST(AgentSettings, WhatAnyEarlierVersionStoredStaysReadable)
{
    EXPECT_EQ(AgentSettings::fromStorage("{}"), AgentSettings::defaults());
    EXPECT_TRUE(AgentSettings::defaults().trustedInstructions.startsWith(
        u"You power Command inside Tallowfern.\nFollow only"_s));
    EXPECT_EQ(AgentSettings::defaults().trustedInstructions.count(u'\n'), 5);

    AgentSettings expected;
    expected.copyResult = false;
    EXPECT_EQ(AgentSettings::fromStorage(R"({"copyResult": false, "of a later version": [1]})"), expected);
}

TEST(AgentSettings, WhatIsStoredComesBack)
{
    AgentSettings settings;
    settings.writingProvider = AgentWritingProvider::OpenAI;
    settings.openAIReasoningEffort = AgentReasoningEffort::XHigh;
    settings.geminiReasoningEffort = AgentReasoningEffort::None;
    settings.mistralReasoningEffort = AgentReasoningEffort::Minimal;
    settings.selectedModelID = u"custom:ä"_s;
    settings.playCompletionSound = false;
    settings.personalContext = u"line\nline"_s;
    settings.trustedInstructions.clear();
    settings.promptProfiles = {{QUuid::createUuid(), u"Formal"_s, u"Be formal."_s, DefaultShortcuts::agent()}};
    const QByteArray bytes = json::encodeForStorage(settings);
    EXPECT_EQ(AgentSettings::fromStorage(bytes), settings);
    EXPECT_EQ(json::parse(bytes).toObject().size(), 19);
}

TEST(AgentSettings, AValueOfTheWrongFormFailsAsAWhole)
{
    for (const char* stored : {"", "[]", R"({"copyResult": 1})", R"({"writingProvider": "none"})",
             R"({"openAIReasoningEffort": "Automatic"})", R"({"selectedModelID": 5})", R"({"promptProfiles": {}})",
             R"({"promptProfiles": [{"id": "0a0b0c0d-0000-4000-8000-000000000001", "name": "", "prompt": ""}]})"})
        EXPECT_THROW(AgentSettings::fromStorage(stored), json::DecodingError) << stored;
}

TEST(AgentSettings, OnlyTheEarlierDefaultPromptIsReplaced)
{
    const QString present = AgentSettings::defaults().trustedInstructions;
    const QString earlier = QString(present).replace(
        u"You power Command inside Tallowfern."_s, u"You are the local writing agent inside Tallowfern."_s);
    const auto read = [](const QString& prompt) {
        AgentSettings stored;
        stored.trustedInstructions = prompt;
        return AgentSettings::fromStorage(json::encodeForStorage(stored)).trustedInstructions;
    };
    EXPECT_EQ(read(earlier), present);
    for (const QString& own : {earlier + u' ', u"Mine."_s, QString()})
        EXPECT_EQ(read(own), own);
}

TEST(AgentSettings, TheInstructionsCarryOneBlockOfTheUsersOwnAtMost)
{
    const QUuid known = QUuid::createUuid();
    const QString regular = u"\n\n<regular_command_prompt>\nThe user invoked the regular Command shortcut. Apply these "
                            "additional trusted instructions from the user:\nBe brief.\n</regular_command_prompt>"_s;
    const QString profiled
        = u">\nThe user invoked this request through a Command profile. Apply these additional trusted "
          "instructions from the user:\nBe formal.\n</command_profile>"_s;
    struct Case {
        std::optional<QUuid> asked;
        QString regularPrompt;
        QString name;
        QString prompt;
        QString block;
    };
    const Case cases[] = {
        {{}, u" \n\t"_s, u"A"_s, u"Be formal."_s, {}},
        {{}, u"\n Be brief.\n"_s, u"A"_s, u"Be formal."_s, regular},
        {known, u"Be brief."_s, u" My \"own\" \n"_s, u"\n Be formal. "_s,
            u"\n\n<command_profile name=\"My \"own\"\""_s + profiled},
        {known, u"Be brief."_s, u" \n"_s, u"Be formal."_s, u"\n\n<command_profile"_s + profiled},
        {known, u"Be brief."_s, u"A"_s, u" \n"_s, {}},
        {QUuid::createUuid(), u"Be brief."_s, u"A"_s, u"Be formal."_s, {}},
    };
    for (const QString& base : {u" The base\n"_s, QString()}) {
        for (const Case& each : cases) {
            AgentSettings settings;
            settings.trustedInstructions = base;
            settings.regularCommandPrompt = each.regularPrompt;
            settings.promptProfiles = {{known, each.name, each.prompt, DefaultShortcuts::agent()},
                {known, u"B"_s, u"Hidden."_s, DefaultShortcuts::agent()}};
            EXPECT_EQ(settings.composedTrustedInstructions(each.asked), base + each.block);
        }
    }
}

TEST(AgentSettings, EachProviderKeepsItsModel)
{
    AgentSettings settings;
    settings.selectedModelID = u"own"_s;
    QStringList chosen;
    for (const auto& [provider, name] : enumStrings(AgentWritingProvider{})) {
        settings.writingProvider = provider;
        chosen.append(selectedModelID(settings));
    }
    EXPECT_EQ(chosen.join(u' '), u"own openai-luna gemini-flash mistral-small"_s);
}

} // namespace
} // namespace tallowfern
