#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace tallowfern::control {

/// How a Command is begun from outside.
struct CommandArguments {
    bool includeScreenshot = false;
    std::optional<qint64> profileIndex; ///< from 0; the user counts from 1
    bool isFollowUp = false; ///< of the conversation on show
    std::optional<QString> followUpText; ///< spoken, if there is none
};

/// From the words after "command"; or the sentence that says what is wrong with them.
std::variant<CommandArguments, QString> commandArguments(const QStringList& words);

} // namespace tallowfern::control
