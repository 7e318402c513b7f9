#pragma once

#include <string>

namespace tallowfern {

/// Of the flags in `cpuFlags` ("fpu sse avx2 …", as the system lists them), those missing that the engines are built
/// for, separated by blanks; empty when all are there.
std::string missingProcessorFeatures(const std::string& cpuFlags);

/// Throws EngineFailure on a processor on which the engine library would die of an illegal instruction.
void checkProcessor();

} // namespace tallowfern
