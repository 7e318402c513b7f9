#pragma once

#include <stop_token>

namespace tallowfern {

/// Tells coroutines whether their owner still lives: a member of the owner, whose token the coroutine keeps and asks
/// after each wait before it touches the owner.
class Lifetime {
public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;
    ~Lifetime() { m_source.request_stop(); }

    std::stop_token token() const { return m_source.get_token(); }

private:
    std::stop_source m_source;
};

} // namespace tallowfern
