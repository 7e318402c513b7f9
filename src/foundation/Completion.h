#pragma once

#include <coroutine>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace tallowfern {

/// A value that arrives once, from an event, and that any number of coroutines may await. Copies share the value.
/// Main thread only; the waiting coroutines go on inside complete().
template <class T>
class Completion {
public:
    /// The first value counts; a later one changes nothing.
    void complete(T value)
    {
        const auto state = m_state; // a resumed coroutine may destroy this object
        if (state->value)
            return;
        state->value.emplace(std::move(value));
        for (const auto handle : std::exchange(state->waiting, {}))
            handle.resume();
    }

    bool isComplete() const { return m_state->value.has_value(); }

    bool await_ready() const { return isComplete(); }
    void await_suspend(std::coroutine_handle<> handle) { m_state->waiting.push_back(handle); }
    T await_resume() const { return *m_state->value; }

private:
    struct State {
        std::optional<T> value;
        std::vector<std::coroutine_handle<>> waiting;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace tallowfern
