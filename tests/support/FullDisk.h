#pragma once

#include <QtGlobal>

#include <atomic>
#include <csignal>
#include <sys/resource.h>

namespace tallowfern::testing_support {

/// A disk that holds files of so many bytes and no more, for this process, while the object lives.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes)
    {
        s_refused = 0;
        ::signal(SIGXFSZ, [](int) { s_refused.fetch_add(1), s_refused.notify_all(); });
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }

    /// Blocks until so many writes have been refused, by whatever thread.
    void waitForRefusals(int count) const
    {
        for (int seen = s_refused; seen < count; seen = s_refused)
            s_refused.wait(seen);
    }

private:
    static inline std::atomic<int> s_refused = 0;
    rlimit m_before{};
};

} // namespace tallowfern::testing_support
