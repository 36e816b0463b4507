#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "backend/wire/connection.h"

namespace backend {

using ConnectionId = std::uint64_t;

// A request as it came, or what is left of one that is refused.
struct Incoming
{
    ConnectionId connection = 0;
    Address peer;
    std::weak_ptr<const void> client; // Expires with the connection; for any thread.
    Request request;
    std::optional<Reply> refusal;
};

// Accepts connections and reads requests from them, all on one thread, so that no client, however
// slow or silent, keeps another one waiting. When there are as many connections as may be, the one
// that has waited longest for a request to come makes room; while none does, nobody is let in.
class Listener final
{
public:
    struct Settings
    {
        std::string host;
        int port = 0;
        int connections = 0;
        SSL_CTX *tls = nullptr; // Null: plain HTTP.
        Patience patience;
    };
    // Called on the listener's thread; must not wait. Each call is answered by one of answer().
    using OnRequest = std::function<void(Incoming &&)>;

    Listener(Settings settings, OnRequest onRequest);
    ~Listener(); // Finishes.
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;
    Listener(Listener &&) = delete;
    Listener &operator=(Listener &&) = delete;

    // Throws ConfigurationError when the address cannot be listened on.
    void start();
    [[nodiscard]] int port() const { return m_port; }
    // From any thread. Does nothing when the client has gone.
    void answer(ConnectionId connection, std::string bytes, bool closes);
    // Accepts nothing any more, and closes the connections that have no request under way.
    void drain();
    // Drains, sends what is left to be sent, and ends the thread.
    void finish();

private:
    using Connections = std::unordered_map<ConnectionId, std::shared_ptr<Connection>>;
    struct Answer
    {
        ConnectionId connection;
        std::string bytes;
        bool closes;
    };

    void run();
    void onEvent(std::uint64_t source, std::uint32_t events);
    void accept();
    // False when every connection has a request under way.
    bool makeRoom();
    void letIn(UniqueFd socket, const sockaddr_storage &address);
    // Off until the next tick: a socket that nobody can be let in from is reported without end.
    void listen(bool isOn);
    void deliver();
    void onTick(Clock::time_point now);
    void closeIdle();
    void advance(Connections::iterator found);
    void watch(Connections::iterator found, int operation);
    void hand(Connections::iterator found);
    void wake() const;

    const Settings m_settings;
    const OnRequest m_onRequest;
    int m_port = 0;
    UniqueFd m_listening;
    UniqueFd m_poll;
    UniqueFd m_wakeUp;
    std::thread m_thread;
    Connections m_connections;
    ConnectionId m_nextId;
    std::atomic<bool> m_isDraining{false};
    std::atomic<bool> m_isFinishing{false};
    std::mutex m_mutex; // Guards the answers.
    std::vector<Answer> m_answers;
};

} // namespace backend
