#include "Machine.h"

#include "Failure.h"

#include <cpuid.h>
#include <cstdlib>
#include <unistd.h>

namespace tallowfern::engines {

namespace {

bool hasF16C()
{
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_F16C) != 0;
}

} // namespace

void checkProcessor()
{
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi2") && hasF16C())
        return;
    throw Failure("This processor is too old for the speech engine: it lacks AVX2, FMA, F16C or BMI2.",
        "Name an engine built for it in TALLOWFERN_WHISPER_CLI_PATH or TALLOWFERN_PARAKEET_CLI_PATH.");
}

void restartWithPoliteThreads(char** arguments)
{
    ::setenv("GGML_NO_BACKTRACE", "1", 1); // a failure inside the library must not start a debugger
    if (std::getenv("OMP_WAIT_POLICY"))
        return;
    ::setenv("OMP_WAIT_POLICY", "passive", 1);
    ::execv("/proc/self/exe", arguments); // where that fails, impolite threads do as well
}

} // namespace tallowfern::engines
