#include "core/PromptProfiles.h"

#include "foundation/Words.h"

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

/// Control and Option with a digit: the keys lie in a row, their codes do not.
KeyboardShortcutSetting freeShortcut(const QList<AgentPromptProfile>& profiles)
{
    static const QList<std::pair<quint32, QString>> digits{
        {18, u"1"_s}, {19, u"2"_s}, {20, u"3"_s}, {21, u"4"_s}, {23, u"5"_s}};
    KeyboardShortcutSetting shortcut;
    for (const auto& [code, label] : digits) {
        shortcut = {.keyCode = code, .keyLabel = label, .option = true, .control = true};
        const auto isTaken = [&](const AgentPromptProfile& profile) { return profile.shortcut == shortcut; };
        if (std::none_of(profiles.begin(), profiles.end(), isTaken))
            break;
    }
    return shortcut;
}

} // namespace

void addPromptProfile(Preferences& preferences)
{
    AgentSettings settings = preferences.agentSettings();
    QList<AgentPromptProfile>& profiles = settings.promptProfiles;
    if (profiles.size() >= kMostPromptProfiles)
        return;
    profiles.append(
        {QUuid::createUuid(), words("Profile %1").arg(profiles.size() + 1), QString(), freeShortcut(profiles)});
    preferences.setAgentSettings(settings);
}

void removePromptProfile(Preferences& preferences, const QUuid& id)
{
    AgentSettings settings = preferences.agentSettings();
    settings.promptProfiles.removeIf([id](const AgentPromptProfile& profile) { return profile.id == id; });
    preferences.setAgentSettings(settings);
}

} // namespace tallowfern
