#pragma once

#include <QString>
#include <QStringList>

namespace tallowfern::control {

// Where the application is reached on the session bus.
inline constexpr auto kService = "com.tallowfern.Tallowfern";
inline constexpr auto kPath = "/com/tallowfern/Tallowfern";
inline constexpr auto kInterface = "com.tallowfern.Control1";

// Exit status of the command.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1; ///< none is running, or it could not be done
inline constexpr int kUsage = 2;

/// Empty when the words are a command that the application knows; else the sentence that says what is wrong.
QString usageProblem(const QStringList& words);

/// What the command can do, for people.
QString usage();

} // namespace tallowfern::control
