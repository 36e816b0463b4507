#pragma once

#include <atomic>
#include <map>
#include <mutex>

#include <httplib.h>

#include "localdrive/wire/connection.h"
#include "localdrive/wire/patience.h"

namespace localdrive {

// The HTTP library's server with connections of our own: they end at once when the server stops,
// break on request, and none that only waits keeps others from being served. Every request goes to
// one handler.
class WireServer final : public httplib::Server
{
public:
    WireServer(const Handler &handler, const Patience &patience);

    // Lets many connections wait to be accepted; the library lets five. Once it is bound.
    void widenQueue() { ::listen(svr_sock_, MostConnections); }
    // Closes every connection and refuses new ones; stop() then returns without waiting.
    void shutDownConnections();

private:
    static constexpr int MostConnections = 256;

    void routeAllTo(const Handler &handler);
    bool process_and_close_socket(socket_t sock) override;
    void serve(Connection &connection);
    void closeLongestWaiting();

    const Patience m_patience;
    std::atomic<bool> m_stopping{false};
    std::mutex m_mutex;
    std::map<socket_t, const Connection *> m_open;
};

} // namespace localdrive
