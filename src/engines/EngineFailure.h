#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace tallowfern {

/// Why an engine program gives up. The application shows the last two lines of standard error, so a failure is exactly
/// two: what happened, and what the user can do.
class EngineFailure : public std::runtime_error {
public:
    EngineFailure(const std::string& whatHappened, std::string whatToDo)
        : std::runtime_error(whatHappened)
        , m_whatToDo(std::move(whatToDo))
    {
    }

    const std::string& whatToDo() const { return m_whatToDo; }

private:
    std::string m_whatToDo;
};

} // namespace tallowfern
