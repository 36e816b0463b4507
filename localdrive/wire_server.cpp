#include "wire_server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>

namespace localdrive {
namespace {

constexpr int StallTimeout = 60000; ///< For a peer that stops in the middle of a request.
constexpr std::chrono::seconds KeepAlive(60);
constexpr std::size_t ThreadCount = 64; ///< One per connection: frozen ones must not starve others.

thread_local Connection *t_current = nullptr;

void describe(const sockaddr_in &address, std::string &ip, int &port)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
    ip = text.data();
    port = ntohs(address.sin_port);
}

} // namespace

Connection::Connection(socket_t socket) : m_socket(socket) {}

Connection *Connection::current()
{
    return t_current;
}

bool Connection::waitFor(short events, int milliseconds) const
{
    pollfd descriptor{m_socket, events, 0};
    int ready = 0;
    do {
        ready = ::poll(&descriptor, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

bool Connection::waitForRequest(std::chrono::seconds longest)
{
    if (m_begin < m_end)
        return true;
    const auto milliseconds = std::chrono::duration_cast<Milliseconds>(longest).count();
    if (!waitFor(POLLIN, static_cast<int>(milliseconds)))
        return false;
    char next = 0;
    return ::recv(m_socket, &next, 1, MSG_PEEK) == 1;
}

void Connection::beginExchange()
{
    t_current = this;
    originalHeaders.clear();
    m_break = Break::None;
    m_bodyWritten = 0;
    m_headWritten = false;
}

void Connection::breakReply(Break how, std::int64_t bodyBytes, std::int64_t bytesPerSecond)
{
    m_break = how;
    m_bodyBytes = bodyBytes;
    m_bytesPerSecond = std::max<std::int64_t>(bytesPerSecond, 1);
}

void Connection::prepareHead(httplib::Response &response)
{
    if (m_bodyBytes < 0)
        m_bodyBytes = std::atoll(response.get_header_value("Content-Length").c_str()) / 2;
    if (m_break != Break::NoContentLength)
        return;
    response.headers.erase("Content-Length");
    response.headers.erase("Connection");
    response.set_header("Connection", "close");
    m_mustClose = true;
}

bool Connection::sleep(Milliseconds time)
{
    // A peer that goes away, and the stopping server, hang up.
    pollfd descriptor{m_socket, POLLRDHUP, 0};
    return ::poll(&descriptor, 1, static_cast<int>(time.count())) == 0;
}

bool Connection::is_readable() const
{
    return m_begin < m_end || waitFor(POLLIN, StallTimeout);
}

bool Connection::is_writable() const
{
    return waitFor(POLLOUT, StallTimeout);
}

ssize_t Connection::read(char *data, size_t size)
{
    if (m_begin == m_end) {
        if (!is_readable())
            return -1;
        const ssize_t received = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        if (received <= 0)
            return received;
        m_begin = 0;
        m_end = static_cast<std::size_t>(received);
    }
    const std::size_t length = std::min(size, m_end - m_begin);
    std::memcpy(data, m_buffer.data() + m_begin, length);
    m_begin += length;
    return static_cast<ssize_t>(length);
}

bool Connection::writeAll(const char *data, size_t size)
{
    while (size > 0) {
        const ssize_t sent = ::send(m_socket, data, size, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

ssize_t Connection::write(const char *data, size_t size)
{
    const bool ok = m_break == Break::None ? writeAll(data, size) : writeBroken(data, size) >= 0;
    return ok ? static_cast<ssize_t>(size) : -1;
}

ssize_t Connection::writeBroken(const char *data, size_t size)
{
    if (m_break == Break::Freeze)
        sleep(Milliseconds(-1));
    if (m_break == Break::CloseBeforeReply || m_break == Break::Freeze)
        return -1;
    if (m_headWritten)
        return writeBody(data, size);
    // The library writes the whole head at once, before the body.
    constexpr char HeadEnd[] = "\r\n\r\n";
    const char *end = std::search(data, data + size, HeadEnd, HeadEnd + 4);
    m_headWritten = end != data + size;
    const std::size_t head = m_headWritten ? static_cast<std::size_t>(end - data) + 4 : size;
    if (!writeAll(data, head))
        return -1;
    return head == size ? 0 : writeBody(data + head, size - head);
}

ssize_t Connection::writeBody(const char *data, size_t size)
{
    if (m_break == Break::Trickle)
        return trickle(data, size) ? 0 : -1;
    if (m_break != Break::CloseInsideBody && m_break != Break::FreezeInsideBody)
        return writeAll(data, size) ? 0 : -1;
    const auto allowed = static_cast<std::size_t>(m_bodyBytes - m_bodyWritten);
    const std::size_t length = std::min(size, allowed);
    if (!writeAll(data, length))
        return -1;
    m_bodyWritten += static_cast<std::int64_t>(length);
    if (m_bodyWritten < m_bodyBytes)
        return 0;
    if (m_break == Break::FreezeInsideBody)
        sleep(Milliseconds(-1));
    return -1;
}

bool Connection::trickle(const char *data, size_t size)
{
    constexpr std::int64_t PiecesPerSecond = 20;
    const auto piece =
        static_cast<std::size_t>(std::max<std::int64_t>(m_bytesPerSecond / PiecesPerSecond, 1));
    while (size > 0) {
        const std::size_t length = std::min(size, piece);
        const auto pause = static_cast<std::int64_t>(length) * 1000 / m_bytesPerSecond;
        if (!writeAll(data, length) || !sleep(Milliseconds(pause)))
            return false;
        data += length;
        size -= length;
    }
    return true;
}

void Connection::get_remote_ip_and_port(std::string &ip, int &port) const
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getpeername(m_socket, reinterpret_cast<sockaddr *>(&address), &length) == 0)
        describe(address, ip, port);
}

void Connection::get_local_ip_and_port(std::string &ip, int &port) const
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &length) == 0)
        describe(address, ip, port);
}

WireServer::WireServer()
{
    new_task_queue = [] { return new httplib::ThreadPool(ThreadCount); };
    set_keep_alive_max_count(1000);
    set_keep_alive_timeout(KeepAlive.count());
    // A paused player leaves its download unread for long.
    set_write_timeout(std::chrono::hours(1));
    set_read_timeout(std::chrono::minutes(1));
    // The library would let two servers share a port.
    set_socket_options([](socket_t socket) {
        const int on = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    });
    set_post_routing_handler([](const httplib::Request &, httplib::Response &response) {
        if (Connection *connection = Connection::current())
            connection->prepareHead(response);
    });
}

void WireServer::shutDownConnections()
{
    m_stopping = true;
    const std::lock_guard lock(m_mutex);
    for (const socket_t socket : m_open)
        ::shutdown(socket, SHUT_RDWR);
}

void WireServer::serve(Connection &connection)
{
    bool isOpen = true;
    while (isOpen && !m_stopping && connection.waitForRequest(KeepAlive)) {
        connection.beginExchange();
        bool isClosed = false;
        isOpen = process_request(connection, false, isClosed, [&](httplib::Request &request) {
            // Ranges are answered exactly by the operations, and bodies go out as they are.
            connection.originalHeaders = request.headers;
            request.ranges.clear();
            request.headers.erase("Accept-Encoding");
        });
        isOpen = isOpen && !isClosed && !connection.mustClose();
    }
    t_current = nullptr;
}

bool WireServer::process_and_close_socket(socket_t sock)
{
    const int on = 1;
    ::setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ::fcntl(sock, F_SETFD, FD_CLOEXEC);
    {
        const std::lock_guard lock(m_mutex);
        m_open.insert(sock);
    }
    Connection connection(sock);
    serve(connection);
    {
        const std::lock_guard lock(m_mutex);
        m_open.erase(sock);
        ::shutdown(sock, SHUT_RDWR);
    }
    ::close(sock);
    return true;
}

} // namespace localdrive
