#include "engines/Arguments.h"

#include "engines/EngineFailure.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <map>
#include <sched.h>

namespace tallowfern {

namespace {

constexpr auto kAdvice = "Reinstall Tallowfern, so that application and speech engine fit each other.";

using Setter = std::function<void(Arguments&, const std::string&)>;

struct Flag {
    bool takesValue;
    Setter set;
};

using Flags = std::map<std::string, Flag>;

int usableProcessors()
{
    cpu_set_t processors;
    CPU_ZERO(&processors);
    if (sched_getaffinity(0, sizeof processors, &processors) != 0)
        return 1;
    return std::max(1, CPU_COUNT(&processors));
}

void setThreads(Arguments& arguments, const std::string& value)
{
    int threads = 0;
    const auto* end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, threads);
    if (error != std::errc() || stop != end || threads < 1)
        throw EngineFailure("The speech engine was given \"" + value + "\" as number of threads.", kAdvice);
    // More threads than processors wait for each other at every step, many times slower than fewer.
    arguments.threads = std::min(threads, usableProcessors());
}

void ignore(Arguments& /*arguments*/, const std::string& /*value*/) { }

Flags commonFlags()
{
    return {
        {"--model", {true, [](Arguments& a, const std::string& value) { a.modelPath = value; }}},
        {"--file", {true, [](Arguments& a, const std::string& value) { a.recordingPath = value; }}},
        {"--threads", {true, setThreads}},
        {"--no-prints", {false, ignore}},
    };
}

Arguments parse(const std::vector<std::string>& words, const Flags& flags)
{
    Arguments arguments;
    for (auto word = words.begin(); word != words.end(); ++word) {
        const auto flag = flags.find(*word);
        if (flag == flags.end())
            throw EngineFailure("The speech engine does not know the argument \"" + *word + "\".", kAdvice);
        if (flag->second.takesValue && word + 1 == words.end())
            throw EngineFailure("The argument \"" + *word + "\" of the speech engine lacks its value.", kAdvice);
        flag->second.set(arguments, flag->second.takesValue ? *++word : std::string());
    }
    if (arguments.modelPath.empty() || arguments.recordingPath.empty())
        throw EngineFailure("The speech engine needs --model and --file.", kAdvice);
    return arguments;
}

} // namespace

Arguments whisperArguments(const std::vector<std::string>& words)
{
    auto flags = commonFlags();
    flags["--language"] = {true, [](Arguments& a, const std::string& value) { a.language = value; }};
    flags["--prompt"] = {true, [](Arguments& a, const std::string& value) { a.prompt = value; }};
    flags["--print-progress"] = {false, [](Arguments& a, const std::string&) { a.printsProgress = true; }};
    flags["--suppress-nst"] = {false, [](Arguments& a, const std::string&) { a.suppressesNonSpeech = true; }};
    flags["--no-timestamps"] = {false, ignore};
    return parse(words, flags);
}

Arguments parakeetArguments(const std::vector<std::string>& words)
{
    return parse(words, commonFlags());
}

} // namespace tallowfern
