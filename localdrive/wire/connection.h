#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

#include <httplib.h>

#include "localdrive/wire/fault.h"

namespace localdrive {

// One accepted socket as the HTTP library reads and writes it. It can break the reply that is
// being written, byte for byte, whatever made the reply.
class Connection final : public httplib::Stream
{
public:
    // A request must be whole within a time of its first byte.
    Connection(socket_t socket, Milliseconds requestTimeout);

    // The connection whose request this thread is answering.
    static Connection *current();

    // Waits until a request begins; false when none comes in time or the peer has gone.
    bool waitForRequest(Milliseconds longest);
    void beginExchange();
    void endExchange();
    // The request has come; from now on the connection is kept whatever its peer does.
    void beginReply() { m_waitingSince = Never; }
    // When it began to wait for the request that is still to come whole; from any thread.
    [[nodiscard]] std::int64_t waitingSince() const { return m_waitingSince; }
    static constexpr std::int64_t Never = std::numeric_limits<std::int64_t>::max();
    void breakReply(Break how, std::int64_t bodyBytes, std::int64_t bytesPerSecond);
    // The head of the reply, before it is written.
    void prepareHead(httplib::Response &response);
    [[nodiscard]] bool mustClose() const { return m_mustClose; }
    // The connection ends with this reply.
    void closeAfter(httplib::Response &response);
    // Waits; false when the peer has gone or the server stops meanwhile.
    bool sleep(Milliseconds time);

    // The head as it came; the library is shown one that leaves ranges and coding to us.
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
    const Milliseconds m_requestTimeout;
    std::atomic<std::int64_t> m_waitingSince;
    std::chrono::steady_clock::time_point m_deadline;
    std::size_t m_received = 0; // Of this request.
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

} // namespace localdrive
