#pragma once

#include <QDateTime>

#include <coroutine>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

namespace tallowfern {

/// Time as the logic sees it. Main thread only.
class Clock {
    struct Sleeper;

public:
    /// What sleep() gives: to be awaited at once.
    class Sleep {
    public:
        bool await_ready() const;
        void await_suspend(std::coroutine_handle<> handle);
        void await_resume() const { }

    private:
        friend class Clock;
        std::shared_ptr<Sleeper> m_sleeper;
    };

    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock();

    /// Seconds on a continuous clock that never jumps; only differences mean something.
    virtual double now() const = 0;
    /// The calendar's time, in UTC; may jump.
    virtual QDateTime wallNow() const = 0;

    /// Ends after `seconds`, or on the next turn after `stop` was requested, never inside the request itself.
    /// With a token that is stopped already there is no wait. sleep(0) is a hop: everything due before it runs first.
    Sleep sleep(double seconds, std::stop_token stop = {});

protected:
    /// When the next sleeper is due, in terms of now().
    std::optional<double> nextDue() const;
    /// Resumes, in their order, the sleepers that are due at now(), and those that become due meanwhile.
    void runDue();
    /// Called when nextDue() may have changed.
    virtual void dueChanged() = 0;
    /// Resumes every sleeper at once; later sleeps do not wait. Derived destructors call this first, while now() works.
    void close();

private:
    using Key = std::pair<double, quint64>;
    struct Sleeper {
        Clock* clock = nullptr;
        double seconds = 0;
        std::stop_token stop;
        std::coroutine_handle<> handle;
        Key key;
        std::optional<std::stop_callback<std::function<void()>>> onStop;
    };

    void insert(const std::shared_ptr<Sleeper>& sleeper, double due);
    void resumeFirst();

    std::map<Key, std::shared_ptr<Sleeper>> m_sleepers;
    quint64 m_nextNumber = 0;
    bool m_closed = false;
};

} // namespace tallowfern
