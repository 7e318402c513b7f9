#include "engines/Processor.h"

#include "engines/EngineFailure.h"

#include <fstream>
#include <set>
#include <sstream>

namespace tallowfern {

std::string missingProcessorFeatures(const std::string& cpuFlags)
{
    std::istringstream stream(cpuFlags);
    std::set<std::string> present;
    for (std::string flag; stream >> flag;)
        present.insert(flag);
    std::string missing;
    for (const std::string feature : {"sse4_2", "avx", "avx2", "fma", "f16c", "bmi2"}) {
        if (present.contains(feature))
            continue;
        if (!missing.empty())
            missing += ' ';
        missing += feature;
    }
    return missing;
}

void checkProcessor()
{
    std::ifstream description("/proc/cpuinfo");
    for (std::string line; std::getline(description, line);) {
        if (!line.starts_with("flags"))
            continue;
        const auto missing = missingProcessorFeatures(line.substr(line.find(':') + 1));
        if (!missing.empty())
            throw EngineFailure("The speech engine cannot run on this processor, which lacks " + missing + ".",
                "Use a speech engine that was built for this processor.");
        return;
    }
}

} // namespace tallowfern
