#include "engines/EngineProcess.h"

#include "engines/EngineFailure.h"
#include "engines/Processor.h"

#include <ggml.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <unistd.h>

namespace tallowfern {

namespace {

constexpr int kFailureStatus = 1;
constexpr auto kSpins = "1000"; // some microseconds: the decoder's steps are short, and waking a thread takes as long
constexpr auto kSmallerModel = "Close other programs, or choose a smaller speech model.";

int fail(const std::string& whatHappened, const std::string& whatToDo)
{
    std::fprintf(stderr, "%s\n%s\n", whatHappened.c_str(), whatToDo.c_str());
    return kFailureStatus;
}

/// The threads' library reads its wait policy before main(), so only a new start can change it. Threads that spin while
/// they wait take the processor from the application and from each other.
void restartWithSleepingThreads(char** words)
{
    ::setenv("GGML_NO_BACKTRACE", "1", 1); // the library would start a debugger
    if (std::getenv("OMP_WAIT_POLICY") != nullptr)
        return;
    ::setenv("OMP_WAIT_POLICY", "passive", 1);
    ::setenv("GOMP_SPINCOUNT", kSpins, 1);
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error)
        ::execv(program.c_str(), words); // where this fails, the program goes on with threads that spin
}

extern "C" void tellCrash(int /*signal*/)
{
    static constexpr char kWords[] = "The speech engine crashed.\nTry again, or choose another speech model.\n";
    if (::write(STDERR_FILENO, kWords, sizeof kWords - 1) < 0)
        ::_exit(kFailureStatus + 1);
    ::_exit(kFailureStatus);
}

void tellCrashes()
{
    static std::array<char, 64 * 1024> stack; // the crash may be that the usual stack is full
    stack_t alternative{};
    alternative.ss_sp = stack.data();
    alternative.ss_size = stack.size();
    ::sigaltstack(&alternative, nullptr);
    struct sigaction action { };
    action.sa_handler = tellCrash;
    action.sa_flags = SA_ONSTACK;
    for (const int signal : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV})
        ::sigaction(signal, &action, nullptr);
    std::set_terminate(std::abort);
    ggml_set_abort_callback([](const char*) {});
}

void print(const std::string& text)
{
    if (!text.empty())
        std::printf("%s\n", text.c_str());
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw EngineFailure("The speech engine could not hand its text over.", "Try again.");
}

} // namespace

int runEngine(int count, char** words, EngineWork work)
{
    restartWithSleepingThreads(words);
    tellCrashes();
    try {
        checkProcessor();
        print(work(count > 0 ? std::vector<std::string>(words + 1, words + count) : std::vector<std::string>()));
        return 0;
    } catch (const EngineFailure& failure) {
        return fail(failure.what(), failure.whatToDo());
    } catch (const std::bad_alloc&) {
        return fail("The speech engine has too little memory.", kSmallerModel);
    } catch (const std::exception& exception) {
        return fail("The speech engine failed: " + std::string(exception.what()) + ".", kSmallerModel);
    }
}

} // namespace tallowfern
