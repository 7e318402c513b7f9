#include "fakes/VirtualClock.h"
#include "foundation/BackgroundQueue.h"
#include "foundation/Completion.h"
#include "foundation/Lifetime.h"
#include "foundation/SystemClock.h"
#include "foundation/TaskSlot.h"
#include "support/Await.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tallowfern {
namespace {

using ::testing::ElementsAre;
using Log = std::vector<std::string>;

QCoro::Task<> note(Clock& clock, double seconds, std::stop_token stop, Log& log, std::string name)
{
    co_await clock.sleep(seconds, stop);
    log.push_back(name + (stop.stop_requested() ? " stopped" : ""));
}

TEST(Clock, SleepersWakeInTheOrderTheyFallDue)
{
    VirtualClock clock;
    Log log;
    note(clock, 2, {}, log, "two");
    note(clock, 1, {}, log, "one");
    note(clock, 1, {}, log, "one again");
    note(clock, 0, {}, log, "hop");
    EXPECT_TRUE(log.empty());
    clock.advance(1);
    EXPECT_THAT(log, ElementsAre("hop", "one", "one again"));
    clock.advance(1);
    EXPECT_THAT(log, ElementsAre("hop", "one", "one again", "two"));
}

TEST(Clock, StoppedSleepEndsOnTheNextTurnAndNotInsideTheRequest)
{
    VirtualClock clock;
    Log log;
    std::stop_source stop;
    note(clock, 100, stop.get_token(), log, "sleeper");
    stop.request_stop();
    EXPECT_TRUE(log.empty());
    clock.settle();
    EXPECT_THAT(log, ElementsAre("sleeper stopped"));
    note(clock, 100, stop.get_token(), log, "late"); // already stopped: no wait
    EXPECT_EQ(log.back(), "late stopped");
}

TEST(Clock, EndOfTheClockEndsEverySleeper)
{
    Log log;
    {
        VirtualClock clock;
        note(clock, 100, {}, log, "one");
        note(clock, 200, {}, log, "two");
    }
    EXPECT_THAT(log, ElementsAre("one", "two"));
}

class Owner {
public:
    Owner(Clock& clock, Log& log)
        : m_clock(clock)
        , m_log(log)
    {
    }
    void run(std::string name)
    {
        m_slot.restart([&](std::stop_token stop) { task(std::move(name), std::move(stop)); });
    }
    void cancel() { m_slot.cancel(); }

private:
    QCoro::Task<> task(std::string name, std::stop_token stop)
    {
        co_await m_clock.sleep(1, stop);
        if (stop.stop_requested())
            co_return; // `this` may be gone: the address sanitizer watches
        m_log.push_back(name);
        co_await m_clock.sleep(1, stop);
        if (stop.stop_requested())
            co_return;
        m_log.push_back(name + " again");
    }

    Clock& m_clock;
    Log& m_log;
    TaskSlot m_slot;
};

TEST(TaskSlot, NewTaskReplacesTheOldOneAndTheOwnersEndStopsBoth)
{
    VirtualClock clock;
    Log log;
    auto owner = std::make_unique<Owner>(clock, log);
    owner->run("first");
    owner->run("second");
    clock.advance(1);
    EXPECT_THAT(log, ElementsAre("second"));
    owner.reset();
    clock.advance(5);
    EXPECT_THAT(log, ElementsAre("second"));
}

TEST(SystemClock, SleepsAtLeastAsLongAsAsked)
{
    SystemClock clock;
    Log log;
    const double before = clock.now();
    testing_support::await(note(clock, 0.03, {}, log, "slept"));
    EXPECT_GE(clock.now() - before, 0.03);
}

QCoro::Task<> waitFor(Completion<int> completion, std::vector<int>& got)
{
    const int value = co_await completion;
    got.push_back(value);
}

TEST(Completion, FirstValueReachesAllWhoWaitAndThoseWhoComeLater)
{
    Completion<int> completion;
    std::vector<int> got;
    waitFor(completion, got);
    waitFor(completion, got);
    completion.complete(7);
    completion.complete(8);
    waitFor(completion, got);
    EXPECT_THAT(got, ElementsAre(7, 7, 7));
}

TEST(BackgroundQueue, EndFinishesWhatWasPostedInOrder)
{
    std::vector<int> done;
    {
        BackgroundQueue queue;
        for (int i = 0; i < 100; ++i)
            queue.post([&done, i] { done.push_back(i); });
    }
    ASSERT_EQ(done.size(), 100u);
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
}

} // namespace
} // namespace tallowfern
