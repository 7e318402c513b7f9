#pragma once

#include <stop_token>
#include <utility>

namespace tallowfern {

/// Room for one pending task: a new one, and the end of the slot, cancel the old one.
/// The task is a coroutine that keeps the token it is given, and touches its owner after a wait only while the token
/// is not stopped; a dropped task goes on running, so the token is the only thing that ends it.
class TaskSlot {
public:
    TaskSlot() = default;
    TaskSlot(const TaskSlot&) = delete;
    TaskSlot& operator=(const TaskSlot&) = delete;
    ~TaskSlot() { cancel(); }

    /// Cancels what runs, then calls `start(token)`.
    template <class Start>
    void restart(Start&& start)
    {
        cancel();
        m_source = std::stop_source();
        std::forward<Start>(start)(m_source.get_token());
    }

    void cancel() { std::exchange(m_source, std::stop_source(std::nostopstate)).request_stop(); }

private:
    std::stop_source m_source{std::nostopstate};
};

} // namespace tallowfern
