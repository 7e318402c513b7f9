#pragma once

#include <string>

namespace tallowfern {

/// Whether `text` says the same again at once, as a model does that has lost the thread. People do too, at times: good
/// for listening once more, not for throwing words away.
bool repeatsItself(const std::string& text);

} // namespace tallowfern
