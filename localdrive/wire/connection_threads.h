#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include <httplib.h>

namespace localdrive {

// A thread for each connection, so that one that waits holds no other up. They are made as they are
// needed and used again; when there are no more of them, a connection must give its place up.
class ConnectionThreads final : public httplib::TaskQueue
{
public:
    ConnectionThreads(std::size_t most, std::function<void()> makeRoom);

    void enqueue(std::function<void()> task) override;
    void shutdown() override;

private:
    void work();

    const std::size_t m_most;
    const std::function<void()> m_makeRoom;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_tasks;
    std::vector<std::thread> m_threads;
    std::size_t m_idle = 0;
    bool m_stopped = false;
};

} // namespace localdrive
