#include "localdrive/wire/connection_threads.h"

#include <utility>

namespace localdrive {

ConnectionThreads::ConnectionThreads(std::size_t most, std::function<void()> makeRoom)
    : m_most(most), m_makeRoom(std::move(makeRoom))
{
}

void ConnectionThreads::enqueue(std::function<void()> task)
{
    bool isFull = false;
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
        const bool needsThread = m_tasks.size() > m_idle;
        isFull = needsThread && m_threads.size() >= m_most;
        if (needsThread && !isFull) {
            m_threads.emplace_back([this] { work(); });
        }
    }
    m_changed.notify_one();
    if (isFull) {
        m_makeRoom();
    }
}

void ConnectionThreads::shutdown()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
    }
    m_changed.notify_all();
    for (std::thread &thread : m_threads) {
        thread.join();
    }
}

void ConnectionThreads::work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        ++m_idle;
        m_changed.wait(lock, [this] { return m_stopped || !m_tasks.empty(); });
        --m_idle;
        if (m_tasks.empty()) {
            return;
        }
        const std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

} // namespace localdrive
