#include "engines/Prompt.h"

#include <algorithm>
#include <cctype>

namespace tallowfern {

namespace {

constexpr std::size_t kMostBytes = 16 * 1024;
constexpr int kLongestRun = 200;
const std::string kSeparator = ", ";

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

/// In characters of one kind in a row.
int longestRun(const std::string& term)
{
    int longest = 0;
    int run = 0;
    auto kind = Kind::Space;
    for (const char character : term) {
        if (continuesCharacter(character))
            continue;
        run = kindOf(character) == kind ? run + 1 : 1;
        kind = kindOf(character);
        longest = std::max(longest, run);
    }
    return longest;
}

} // namespace

std::string boundedPrompt(const std::string& prompt)
{
    std::size_t begin = prompt.size() > kMostBytes ? prompt.size() - kMostBytes : 0;
    while (begin > 0 && begin < prompt.size() && continuesCharacter(prompt[begin]))
        ++begin;
    std::string bounded;
    while (begin < prompt.size()) {
        const std::size_t end = std::min(prompt.find(kSeparator, begin), prompt.size());
        const std::string term = prompt.substr(begin, end - begin);
        if (longestRun(term) <= kLongestRun)
            bounded += (bounded.empty() ? std::string() : kSeparator) + term;
        begin = end + kSeparator.size();
    }
    return bounded;
}

} // namespace tallowfern
