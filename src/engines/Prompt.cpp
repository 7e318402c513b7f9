#include "engines/Prompt.h"

#include <cctype>

namespace tallowfern {

namespace {

constexpr std::size_t kMostBytes = 16 * 1024;
constexpr int kLongestRun = 200;

enum class Kind {
    Space,
    Letter,
    Digit,
    Other,
};

Kind kindOf(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x80 && std::isspace(byte) != 0)
        return Kind::Space;
    if (byte < 0x80 && std::isalpha(byte) != 0)
        return Kind::Letter;
    return byte < 0x80 && std::isdigit(byte) != 0 ? Kind::Digit : Kind::Other;
}

bool continuesCharacter(char character)
{
    return (static_cast<unsigned char>(character) & 0xC0U) == 0x80;
}

} // namespace

std::string boundedPrompt(const std::string& prompt)
{
    std::size_t begin = prompt.size() > kMostBytes ? prompt.size() - kMostBytes : 0;
    while (begin > 0 && begin < prompt.size() && continuesCharacter(prompt[begin]))
        ++begin;
    std::string bounded;
    int run = 0;
    bool keeps = true;
    auto kind = Kind::Space;
    for (auto at = begin; at < prompt.size(); ++at) {
        if (!continuesCharacter(prompt[at])) {
            run = kindOf(prompt[at]) == kind ? run + 1 : 1;
            kind = kindOf(prompt[at]);
            keeps = run <= kLongestRun;
        }
        if (keeps)
            bounded += prompt[at];
    }
    return bounded;
}

} // namespace tallowfern
