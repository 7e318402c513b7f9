#include "foundation/BackgroundQueue.h"

namespace tallowfern {

BackgroundQueue::~BackgroundQueue()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void BackgroundQueue::post(std::function<void()> job)
{
    {
        const std::lock_guard lock(m_mutex);
        m_jobs.push_back(std::move(job));
    }
    if (!m_thread.joinable())
        m_thread = std::thread([this] { work(); });
    m_changed.notify_all();
}

void BackgroundQueue::drain()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_jobs.empty() && !m_running; });
}

void BackgroundQueue::work()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_ending || !m_jobs.empty(); });
        if (m_jobs.empty())
            return;
        const auto job = std::move(m_jobs.front());
        m_jobs.pop_front();
        m_running = true;
        lock.unlock();
        job();
        lock.lock();
        m_running = false;
        m_changed.notify_all();
    }
}

} // namespace tallowfern
