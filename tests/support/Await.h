#pragma once

#include <QCoroTask>

#include <QCoreApplication>
#include <QEventLoop>

#include <exception>
#include <memory>
#include <optional>

namespace tallowfern::testing_support {

/// The outcome of a coroutine, readable once it has ended; what it throws is thrown again by value().
template <class T>
class Outcome {
public:
    bool isDone() const { return m_state->done; }
    T value() const
    {
        if (m_state->error)
            std::rethrow_exception(m_state->error);
        if constexpr (!std::is_void_v<T>)
            return std::move(*m_state->value);
    }

    struct State {
        bool done = false;
        std::exception_ptr error;
        std::optional<std::conditional_t<std::is_void_v<T>, bool, T>> value;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

template <class T>
QCoro::Task<> record(QCoro::Task<T> task, std::shared_ptr<typename Outcome<T>::State> state)
{
    try {
        if constexpr (std::is_void_v<T>) {
            co_await task;
        } else {
            T value = co_await task;
            state->value.emplace(std::move(value));
        }
    } catch (...) {
        state->error = std::current_exception();
    }
    state->done = true;
}

/// Lets the task run as far as it goes by itself; the test advances the virtual clock and looks again.
template <class T>
Outcome<T> start(QCoro::Task<T> task)
{
    Outcome<T> outcome;
    record(std::move(task), outcome.m_state);
    return outcome;
}

/// Turns the event loop until the task has ended. For tests with real components; CTest's time limit ends a hang.
template <class T>
T await(QCoro::Task<T> task)
{
    const Outcome<T> outcome = start(std::move(task));
    while (!outcome.isDone())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return outcome.value();
}

} // namespace tallowfern::testing_support
