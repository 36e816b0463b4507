#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>

#include <httplib.h>

#include "server.h"

namespace localdrive {

/// One accepted socket as the HTTP library reads and writes it. It can break the reply that is
/// being written, byte for byte, whatever made the reply.
class Connection final : public httplib::Stream
{
public:
    explicit Connection(socket_t socket);

    /// The connection whose request this thread is answering.
    static Connection *current();

    /// Waits until a request begins; false when none comes in time or the peer has gone.
    bool waitForRequest(std::chrono::seconds longest);
    void beginExchange();
    void breakReply(Break how, std::int64_t bodyBytes, std::int64_t bytesPerSecond);
    /// The head of the reply, before it is written.
    void prepareHead(httplib::Response &response);
    [[nodiscard]] bool mustClose() const { return m_mustClose; }
    /// Waits; false when the peer has gone or the server stops meanwhile.
    bool sleep(Milliseconds time);

    /// The head as it came; the library is shown one that leaves ranges and coding to us.
    httplib::Headers originalHeaders;

    [[nodiscard]] bool is_readable() const override;
    [[nodiscard]] bool is_writable() const override;
    ssize_t read(char *data, size_t size) override;
    ssize_t write(const char *data, size_t size) override;
    void get_remote_ip_and_port(std::string &ip, int &port) const override;
    void get_local_ip_and_port(std::string &ip, int &port) const override;
    [[nodiscard]] socket_t socket() const override { return m_socket; }

private:
    [[nodiscard]] bool waitFor(short events, int milliseconds) const;
    ssize_t writeBroken(const char *data, size_t size);
    ssize_t writeBody(const char *data, size_t size);
    bool writeAll(const char *data, size_t size);
    bool trickle(const char *data, size_t size);

    const socket_t m_socket;
    std::array<char, 8192> m_buffer{};
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    Break m_break = Break::None;
    std::int64_t m_bodyBytes = 0;
    std::int64_t m_bytesPerSecond = 0;
    std::int64_t m_bodyWritten = 0;
    bool m_headWritten = false;
    bool m_mustClose = false;
};

/// The HTTP library's server with connections of our own: they stay open between requests as long
/// as a browser's would, end at once when the server stops, and break on request.
class WireServer final : public httplib::Server
{
public:
    WireServer();

    /// Closes every connection and refuses new ones; stop() then returns without waiting.
    void shutDownConnections();

private:
    bool process_and_close_socket(socket_t sock) override;
    void serve(Connection &connection);

    std::atomic<bool> m_stopping{false};
    std::mutex m_mutex;
    std::set<socket_t> m_open;
};

} // namespace localdrive
