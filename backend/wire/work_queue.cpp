#include "backend/wire/work_queue.h"

#include <utility>

namespace backend {

WorkQueue::WorkQueue(int threads, int longest) : m_longest(static_cast<std::size_t>(longest))
{
    for (int i = 0; i < threads; ++i) {
        m_threads.emplace_back([this] { work(); });
    }
}

WorkQueue::~WorkQueue()
{
    finish();
}

bool WorkQueue::push(Job job)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isFinishing || m_jobs.size() >= m_longest) {
            return false;
        }
        m_jobs.push_back(std::move(job));
    }
    m_changed.notify_one();
    return true;
}

void WorkQueue::finish()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isFinishing = true;
    }
    m_changed.notify_all();
    for (std::thread &thread : m_threads) {
        thread.join();
    }
    m_threads.clear();
}

void WorkQueue::work()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return !m_jobs.empty() || m_isFinishing; });
        if (m_jobs.empty()) {
            return;
        }
        const Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
}

} // namespace backend
