#pragma once

#include "agent/protocol/AgentTypes.h"
#include "foundation/Json.h"
#include "shortcuts/KeyboardShortcutSetting.h"

#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

namespace tallowfern {

/// Standing instructions of the user with a shortcut of their own.
struct AgentPromptProfile {
    QUuid id;
    QString name;
    QString prompt;
    KeyboardShortcutSetting shortcut;

    bool operator==(const AgentPromptProfile&) const = default;
    static constexpr auto jsonFields()
    {
        using S = AgentPromptProfile;
        return std::tuple{json::required("id", &S::id), json::required("name", &S::name),
            json::required("prompt", &S::prompt), json::required("shortcut", &S::shortcut)};
    }
};

/// What the model is told besides the user's words, until the user changes it.
QString defaultTrustedInstructions();

/// All settings of Command, kept as one value. A key that is missing reads as its default, so that what any earlier
/// version wrote stays readable; a key of a wrong form fails the whole value.
struct AgentSettings {
    AgentWritingProvider writingProvider = AgentWritingProvider::Local;
    QString selectedModelID = QStringLiteral("apple-system");
    QString selectedOpenAIModelID = QStringLiteral("openai-luna");
    QString selectedGeminiModelID = QStringLiteral("gemini-flash");
    QString selectedMistralModelID = QStringLiteral("mistral-small");
    AgentReasoningEffort openAIReasoningEffort = AgentReasoningEffort::Automatic;
    AgentReasoningEffort geminiReasoningEffort = AgentReasoningEffort::Automatic;
    AgentReasoningEffort mistralReasoningEffort = AgentReasoningEffort::Automatic;
    bool includeSelectedText = true;
    bool copyResult = true;
    bool automaticPaste = true;
    bool safelyReplaceRefinements = true;
    bool showCompletionNotification = true;
    bool notifyOnCompletion = true;
    bool playCompletionSound = true;
    QString personalContext;
    QString regularCommandPrompt;
    QString trustedInstructions = defaultTrustedInstructions();
    QList<AgentPromptProfile> promptProfiles;

    bool operator==(const AgentSettings&) const = default;
    static AgentSettings defaults() { return {}; }
    /// From the preferences' bytes. Throws json::DecodingError.
    static AgentSettings fromStorage(const QByteArray& bytes);
    /// The first with that identifier.
    std::optional<AgentPromptProfile> promptProfile(const std::optional<QUuid>& id) const;
    /// What the model is told for a turn: the profile's prompt in a block of its own, or the regular one without a
    /// profile. A profile that is gone or empty adds nothing.
    QString composedTrustedInstructions(const std::optional<QUuid>& profileID) const;
    static constexpr auto jsonFields()
    {
        using S = AgentSettings;
        return std::tuple{json::tolerated("writingProvider", &S::writingProvider),
            json::tolerated("selectedModelID", &S::selectedModelID),
            json::tolerated("selectedOpenAIModelID", &S::selectedOpenAIModelID),
            json::tolerated("selectedGeminiModelID", &S::selectedGeminiModelID),
            json::tolerated("selectedMistralModelID", &S::selectedMistralModelID),
            json::tolerated("openAIReasoningEffort", &S::openAIReasoningEffort),
            json::tolerated("geminiReasoningEffort", &S::geminiReasoningEffort),
            json::tolerated("mistralReasoningEffort", &S::mistralReasoningEffort),
            json::tolerated("includeSelectedText", &S::includeSelectedText),
            json::tolerated("copyResult", &S::copyResult), json::tolerated("automaticPaste", &S::automaticPaste),
            json::tolerated("safelyReplaceRefinements", &S::safelyReplaceRefinements),
            json::tolerated("showCompletionNotification", &S::showCompletionNotification),
            json::tolerated("notifyOnCompletion", &S::notifyOnCompletion),
            json::tolerated("playCompletionSound", &S::playCompletionSound),
            json::tolerated("personalContext", &S::personalContext),
            json::tolerated("regularCommandPrompt", &S::regularCommandPrompt),
            json::tolerated("trustedInstructions", &S::trustedInstructions),
            json::tolerated("promptProfiles", &S::promptProfiles)};
    }
};

/// Of the model in force; each writing provider keeps a choice of its own.
QString selectedModelID(const AgentSettings& settings);

} // namespace tallowfern
