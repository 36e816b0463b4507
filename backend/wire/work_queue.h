#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace backend {

// A fixed number of threads that do jobs in turn; no more than a fixed number of jobs waits.
class WorkQueue final
{
public:
    using Job = std::function<void()>;

    WorkQueue(int threads, int longest);
    ~WorkQueue(); // Finishes.
    WorkQueue(const WorkQueue &) = delete;
    WorkQueue &operator=(const WorkQueue &) = delete;
    WorkQueue(WorkQueue &&) = delete;
    WorkQueue &operator=(WorkQueue &&) = delete;

    // False when as many jobs wait as may, and after finish().
    bool push(Job job);
    // Does what waits, then ends the threads.
    void finish();

private:
    void work();

    const std::size_t m_longest;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job> m_jobs;
    bool m_isFinishing = false;
    std::vector<std::thread> m_threads;
};

} // namespace backend
