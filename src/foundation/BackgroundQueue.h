#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tallowfern {

/// Runs jobs one after another on a thread of its own. Destruction finishes all of them first, so what was posted has
/// happened. A job must not throw, and shares nothing with the poster but what is made for it.
class BackgroundQueue {
public:
    BackgroundQueue() = default;
    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;
    ~BackgroundQueue();

    /// From any one thread. The worker starts with the first job and sleeps without cost between jobs.
    void post(std::function<void()> job);
    /// Blocks until everything posted so far has run.
    void drain();

private:
    void work();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_jobs;
    bool m_running = false;
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace tallowfern
