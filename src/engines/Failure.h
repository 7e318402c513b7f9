#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace tallowfern::engines {

// Exit status of the programs.
inline constexpr int kSuccess = 0;
inline constexpr int kFailed = 1;
inline constexpr int kUsage = 2;

/// Ends the program with two lines on standard error, what failed and what to do: the application shows these two.
class Failure : public std::runtime_error {
public:
    Failure(std::string what, std::string advice, int status = kFailed)
        : std::runtime_error(std::move(what))
        , m_advice(std::move(advice))
        , m_status(status)
    {
    }
    const std::string& advice() const { return m_advice; }
    int status() const { return m_status; }

private:
    std::string m_advice;
    int m_status;
};

} // namespace tallowfern::engines
