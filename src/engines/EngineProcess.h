#pragma once

#include <string>
#include <vector>

namespace tallowfern {

constexpr int kFailureStatus = 1;

/// Runs `work` with the program's arguments, without its name, and returns the exit status: 0, or kFailureStatus after
/// two lines on standard error. Before that, once, the program replaces itself with a copy whose threads sleep while they
/// wait. A crash in the engine library ends in two lines as well.
int runEngine(int count, char** words, void (*work)(const std::vector<std::string>& arguments));

/// Of the flags in `cpuFlags` ("fpu sse avx2 …", as the system lists them), those missing that the engines are built for,
/// separated by blanks; empty when all are there.
std::string missingProcessorFeatures(const std::string& cpuFlags);

} // namespace tallowfern
