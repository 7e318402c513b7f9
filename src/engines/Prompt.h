#pragma once

#include <string>

namespace tallowfern {

/// As much of the end of `prompt` as can matter, safe for the engine library: of its tokens only the last few hundred
/// count, and its tokenizer takes quadratic time for a long run of letters, digits or other characters, and then
/// crashes; terms that hold one are left out. UTF-8 characters stay whole.
std::string boundedPrompt(const std::string& prompt);

} // namespace tallowfern
