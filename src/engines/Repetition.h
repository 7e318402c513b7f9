#pragma once

#include <string>

namespace tallowfern {

/// Whether `text` says the same again and again, as a model does that has lost the thread.
bool repeatsItself(const std::string& text);

} // namespace tallowfern
