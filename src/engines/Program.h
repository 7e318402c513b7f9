#pragma once

#include "Arguments.h"
#include "Failure.h"
#include "Machine.h"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace tallowfern::engines {

/// The frame of both programs: `work(arguments)` gives the words; every failure ends in two lines and a status.
template <class Work>
int runProgram(Engine engine, int count, char** words, Work work)
{
    restartWithPoliteThreads(words);
    try {
        checkProcessor();
        const Arguments arguments = parseArguments(engine, std::vector<std::string>(words + 1, words + count));
        const std::string text = work(arguments);
        if (!text.empty())
            std::printf("%s\n", text.c_str());
        if (std::fflush(stdout) != 0 || std::ferror(stdout))
            throw Failure("The words could not be handed over.", "Dictate again.");
        return kSuccess;
    } catch (const Failure& failure) {
        std::fprintf(stderr, "%s\n%s\n", failure.what(), failure.advice().c_str());
        return failure.status();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "The speech engine failed: %s.\nClose other programs or choose a smaller model.\n", exception.what());
        return kFailed;
    }
}

} // namespace tallowfern::engines
