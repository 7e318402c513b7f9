#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace tallowfern::control {

/// What a user asks of a writing model from a terminal.
struct AskArguments {
    QString instruction;
    std::optional<QString> modelID; ///< instead of the one in the settings
    std::optional<QString> imagePath;
    bool isContinuation = false;
};

/// From the words after "ask"; or the sentence that says what is wrong with them.
std::variant<AskArguments, QString> askArguments(const QStringList& words);

} // namespace tallowfern::control
