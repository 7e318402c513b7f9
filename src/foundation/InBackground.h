#pragma once

#include "foundation/BackgroundQueue.h"
#include "foundation/Completion.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QMetaObject>

#include <exception>
#include <type_traits>
#include <utility>
#include <variant>

namespace tallowfern {

/// Runs `work` on the queue and comes back to the main thread with what it gives or throws. The waiting coroutine goes
/// on also when the queue and its owner have ended meanwhile, so it asks its token first.
template <class Work>
QCoro::Task<std::invoke_result_t<Work>> inBackground(BackgroundQueue& queue, Work work)
{
    using Outcome = std::variant<std::exception_ptr, std::invoke_result_t<Work>>;
    Completion<Outcome> done;
    queue.post([work = std::move(work), done] {
        Outcome outcome;
        try {
            outcome.template emplace<1>(work());
        } catch (...) {
            outcome = std::current_exception();
        }
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [outcome = std::move(outcome), done]() mutable { done.complete(std::move(outcome)); },
            Qt::QueuedConnection);
    });
    Outcome outcome = co_await done;
    if (const auto* failure = std::get_if<std::exception_ptr>(&outcome))
        std::rethrow_exception(*failure);
    co_return std::get<1>(std::move(outcome));
}

} // namespace tallowfern
