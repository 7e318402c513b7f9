#include "engines/Repetition.h"

#include <cctype>
#include <sstream>
#include <vector>

namespace tallowfern {

namespace {

constexpr std::size_t kLongestPhrase = 12;
constexpr std::size_t kTellingTimes = 4; // of a word; fewer are how people speak ("no, no, no")

std::vector<std::string> plainWords(const std::string& text)
{
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;) {
        std::string plain;
        for (const char character : word) {
            const auto byte = static_cast<unsigned char>(character);
            if (byte >= 0x80 || std::isalnum(byte) != 0)
                plain += static_cast<char>(std::tolower(byte));
        }
        if (!plain.empty())
            words.push_back(plain);
    }
    return words;
}

/// How many words from `at` on repeat the `length` words before them.
std::size_t repeatedWords(const std::vector<std::string>& words, std::size_t at, std::size_t length)
{
    std::size_t count = 0;
    while (at + count < words.size() && words[at + count] == words[at + count - length])
        ++count;
    return count;
}

} // namespace

bool repeatsItself(const std::string& text)
{
    const auto words = plainWords(text);
    for (std::size_t length = 1; length <= kLongestPhrase; ++length) {
        for (auto at = length; at < words.size(); ++at) {
            const auto said = length + repeatedWords(words, at, length);
            if (said >= (length == 1 ? kTellingTimes : 2) * length)
                return true;
        }
    }
    return false;
}

} // namespace tallowfern
