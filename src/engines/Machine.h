#pragma once

namespace tallowfern::engines {

/// Throws Failure on a processor that lacks what the library was built for: it would die of an illegal instruction.
void checkProcessor();

/// Starts the program anew, once, so that its threads sleep while they wait for each other: the threads' library reads
/// this setting before main(). Other programs then keep their processor.
void restartWithPoliteThreads(char** arguments);

} // namespace tallowfern::engines
