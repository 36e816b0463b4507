#include "localdrive/wire/connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <poll.h>

namespace localdrive {
namespace {

constexpr int WriteTimeout = 60000;
constexpr std::size_t MostReceived = std::size_t{2} << 20; // Head and body of a request.

thread_local Connection *t_current = nullptr;

void describe(const sockaddr_in &address, std::string &ip, int &port)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
    ip = text.data();
    port = ntohs(address.sin_port);
}

} // namespace

Connection::Connection(socket_t socket, Milliseconds requestTimeout)
    : m_socket(socket), m_requestTimeout(requestTimeout), m_waitingSince(Clock::machineTime())
{
}

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

bool Connection::waitForRequest(Milliseconds longest)
{
    if (m_begin < m_end) {
        return true;
    }
    if (!waitFor(POLLIN, static_cast<int>(longest.count()))) {
        return false;
    }
    char next = 0;
    return ::recv(m_socket, &next, 1, MSG_PEEK) == 1;
}

void Connection::beginExchange()
{
    t_current = this;
    m_waitingSince = Clock::machineTime();
    m_deadline = std::chrono::steady_clock::now() + m_requestTimeout;
    m_received = 0;
    originalHeaders.clear();
    m_break = Break::None;
    m_bodyWritten = 0;
    m_headWritten = false;
}

void Connection::endExchange()
{
    t_current = nullptr;
    m_waitingSince = Clock::machineTime();
}

void Connection::breakReply(Break how, std::int64_t bodyBytes, std::int64_t bytesPerSecond)
{
    m_break = how;
    m_bodyBytes = bodyBytes;
    m_bytesPerSecond = std::max<std::int64_t>(bytesPerSecond, 1);
}

void Connection::prepareHead(httplib::Response &response)
{
    if (m_bodyBytes < 0) {
        m_bodyBytes = std::atoll(response.get_header_value("Content-Length").c_str()) / 2;
    }
    if (m_break != Break::NoContentLength) {
        return;
    }
    response.headers.erase("Content-Length");
    closeAfter(response);
}

void Connection::closeAfter(httplib::Response &response)
{
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
    const auto left =
        std::chrono::duration_cast<Milliseconds>(m_deadline - std::chrono::steady_clock::now());
    return m_begin < m_end || (left.count() > 0 && waitFor(POLLIN, static_cast<int>(left.count())));
}

bool Connection::is_writable() const
{
    return waitFor(POLLOUT, WriteTimeout);
}

ssize_t Connection::read(char *data, size_t size)
{
    if (m_begin == m_end) {
        if (m_received > MostReceived || !is_readable()) {
            return -1;
        }
        const ssize_t received = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        if (received <= 0) {
            return received;
        }
        m_begin = 0;
        m_end = static_cast<std::size_t>(received);
        m_received += m_end;
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
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            return false;
        }
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
    if (m_break == Break::Freeze) {
        sleep(Milliseconds(-1));
    }
    if (m_break == Break::CloseBeforeReply || m_break == Break::Freeze) {
        return -1;
    }
    if (m_headWritten) {
        return writeBody(data, size);
    }
    // The library writes the whole head at once, before the body.
    constexpr char HeadEnd[] = "\r\n\r\n";
    const char *end = std::search(data, data + size, HeadEnd, HeadEnd + 4);
    m_headWritten = end != data + size;
    const std::size_t head = m_headWritten ? static_cast<std::size_t>(end - data) + 4 : size;
    if (!writeAll(data, head)) {
        return -1;
    }
    return head == size ? 0 : writeBody(data + head, size - head);
}

ssize_t Connection::writeBody(const char *data, size_t size)
{
    if (m_break == Break::Trickle) {
        return trickle(data, size) ? 0 : -1;
    }
    if (m_break != Break::CloseInsideBody && m_break != Break::FreezeInsideBody) {
        return writeAll(data, size) ? 0 : -1;
    }
    const auto allowed = static_cast<std::size_t>(m_bodyBytes - m_bodyWritten);
    const std::size_t length = std::min(size, allowed);
    if (!writeAll(data, length)) {
        return -1;
    }
    m_bodyWritten += static_cast<std::int64_t>(length);
    if (m_bodyWritten < m_bodyBytes) {
        return 0;
    }
    if (m_break == Break::FreezeInsideBody) {
        sleep(Milliseconds(-1));
    }
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
        if (!writeAll(data, length) || !sleep(Milliseconds(pause))) {
            return false;
        }
        data += length;
        size -= length;
    }
    return true;
}

void Connection::get_remote_ip_and_port(std::string &ip, int &port) const
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getpeername(m_socket, reinterpret_cast<sockaddr *>(&address), &length) == 0) {
        describe(address, ip, port);
    }
}

void Connection::get_local_ip_and_port(std::string &ip, int &port) const
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (::getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &length) == 0) {
        describe(address, ip, port);
    }
}

} // namespace localdrive
