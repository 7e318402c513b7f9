#pragma once

#include <string>
#include <vector>

namespace tallowfern {

/// Turns the arguments of the program, without its name, into the text of the recording. Throws EngineFailure.
using EngineWork = std::string (*)(const std::vector<std::string>& arguments);

/// Runs `work`, prints its text, and returns the exit status: 0, or 1 after two lines on standard error. Before that,
/// once, the program replaces itself by a copy whose threads sleep while they wait. A crash in the engine library ends
/// in two lines as well.
int runEngine(int count, char** words, EngineWork work);

} // namespace tallowfern
