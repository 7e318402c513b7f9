#pragma once

#include "foundation/Clock.h"
#include "foundation/Completion.h"

#include <QCoroTask>

namespace tallowfern {

template <class T>
QCoro::Task<> completeWith(Completion<T> answer, QCoro::Task<T> work)
{
    T value = co_await work;
    answer.complete(std::move(value));
}

template <class T>
QCoro::Task<> giveUpAfter(double seconds, Clock& clock, Completion<T> answer, std::stop_token answered)
{
    co_await clock.sleep(seconds, answered);
    answer.complete(T());
}

/// What the work gives, or an empty value as soon as it takes longer. The work itself goes on: what it must not do then
/// is up to a token of its own.
template <class T>
QCoro::Task<T> within(double seconds, Clock& clock, QCoro::Task<T> work)
{
    Completion<T> answer;
    std::stop_source answered;
    giveUpAfter(seconds, clock, answer, answered.get_token());
    completeWith(answer, std::move(work));
    T value = co_await answer;
    answered.request_stop();
    co_return value;
}

} // namespace tallowfern
