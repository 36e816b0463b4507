#include "backend/platform/platform_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/x509v3.h>
#include <poll.h>

#include "backend/wire/address.h"

namespace backend {
namespace {

constexpr std::size_t LargestReply = 81920; // 64 KiB of body, 16 of head

} // namespace

PlatformStream::PlatformStream(Clock::time_point deadline, SSL_CTX *context)
    : m_deadline(deadline), m_context(context)
{
}

bool PlatformStream::connect(const std::string &host, const sockaddr_storage &address)
{
    return connectSocket(address) && (!m_context || startTls(host));
}

bool PlatformStream::connectSocket(const sockaddr_storage &address)
{
    m_ssl.reset();
    m_socket = UniqueFd(
        ::socket(address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
    const socklen_t size =
        address.ss_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    const int on = 1;
    ::setsockopt(m_socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(m_socket.get(), reinterpret_cast<const sockaddr *>(&address), size) == 0) {
        return true;
    }
    int error = errno;
    if (error == EINPROGRESS) {
        if (!waitFor(POLLOUT)) {
            return fail("no connection in time");
        }
        socklen_t length = sizeof error;
        ::getsockopt(m_socket.get(), SOL_SOCKET, SO_ERROR, &error, &length);
    }
    return error == 0 || fail(std::string("no connection: ") + std::strerror(error));
}

bool PlatformStream::startTls(const std::string &host)
{
    m_ssl.reset(SSL_new(m_context));
    const bool isName = !Address::parse(host);
    X509_VERIFY_PARAM *expected = m_ssl ? SSL_get0_param(m_ssl.get()) : nullptr;
    if (!expected || SSL_set_fd(m_ssl.get(), m_socket.get()) != 1 ||
        (isName ? X509_VERIFY_PARAM_set1_host(expected, host.data(), host.size())
                : X509_VERIFY_PARAM_set1_ip_asc(expected, host.c_str())) != 1 ||
        (isName && SSL_set_tlsext_host_name(m_ssl.get(), host.c_str()) != 1)) {
        return fail("TLS cannot be set up");
    }
    int result = 0;
    ERR_clear_error();
    while ((result = SSL_connect(m_ssl.get())) != 1) {
        if (!waitForTls(result)) {
            const long verdict = SSL_get_verify_result(m_ssl.get());
            return fail(verdict == X509_V_OK ? "no TLS connection"
                                             : std::string("bad certificate: ") +
                                                   X509_verify_cert_error_string(verdict));
        }
    }
    return true;
}

bool PlatformStream::waitFor(short events) const
{
    pollfd descriptor{m_socket.get(), events, 0};
    int ready = 0;
    do {
        const int left = millisecondsUntil(m_deadline);
        if (left == 0) {
            return false;
        }
        ready = ::poll(&descriptor, 1, left);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

// Waits for what TLS waits for; false when it has failed or the time is up.
bool PlatformStream::waitForTls(int result)
{
    switch (SSL_get_error(m_ssl.get(), result)) {
    case SSL_ERROR_WANT_READ:
        return waitFor(POLLIN);
    case SSL_ERROR_WANT_WRITE:
        return waitFor(POLLOUT);
    default:
        return false;
    }
}

bool PlatformStream::is_readable() const
{
    return m_begin < m_end || waitFor(POLLIN);
}

bool PlatformStream::is_writable() const
{
    return waitFor(POLLOUT);
}

ssize_t PlatformStream::read(char *data, size_t size)
{
    if (m_begin == m_end) {
        const ssize_t count = receive();
        if (count <= 0) {
            return count;
        }
    }
    const std::size_t length = std::min(size, m_end - m_begin);
    std::memcpy(data, &m_buffer[m_begin], length);
    m_begin += length;
    return static_cast<ssize_t>(length);
}

ssize_t PlatformStream::receive()
{
    ssize_t count = -1;
    // A peer that sends without a pause is never waited for.
    while (Clock::now() < m_deadline) {
        if (m_ssl) {
            ERR_clear_error();
            count = SSL_read(m_ssl.get(), m_buffer.data(), static_cast<int>(m_buffer.size()));
            if (count > 0 || !waitForTls(static_cast<int>(count))) {
                break;
            }
        } else {
            count = ::recv(m_socket.get(), m_buffer.data(), m_buffer.size(), 0);
            const bool mayComeLater = count < 0 && (errno == EAGAIN || errno == EINTR);
            if (!mayComeLater || !waitFor(POLLIN)) {
                break;
            }
        }
        count = -1;
    }
    if (count <= 0) {
        const bool isLate = Clock::now() >= m_deadline;
        fail(isLate ? "no reply in time" : "the connection ended early");
        return isLate ? -1 : count;
    }
    m_begin = 0;
    m_end = static_cast<std::size_t>(count);
    m_received += m_end;
    if (m_received > LargestReply) {
        fail("the reply is too large");
        return -1;
    }
    return acceptFirstLine() ? count : -1;
}

// The library matches the first line with an expression that recurses for each character, and
// looks for another after an interim reply, which nobody asked for.
bool PlatformStream::acceptFirstLine()
{
    constexpr std::size_t LongestFirstLine = 1024;
    constexpr std::size_t StatusAt = 9; // after "HTTP/1.1 "
    if (m_hasFirstLine) {
        return true;
    }
    const char *begin = m_buffer.data();
    const char *end = std::find(begin, begin + m_end, '\n');
    m_firstLine.append(begin, end);
    m_hasFirstLine = end != begin + m_end;
    const bool isInterim = m_hasFirstLine && m_firstLine.compare(StatusAt, 1, "1") == 0;
    return (m_firstLine.size() <= LongestFirstLine && m_firstLine.size() >= StatusAt &&
            !isInterim) ||
           (!m_hasFirstLine && m_firstLine.size() < StatusAt) || fail("the reply is no HTTP");
}

ssize_t PlatformStream::write(const char *data, size_t size)
{
    while (Clock::now() < m_deadline) {
        if (m_ssl) {
            ERR_clear_error();
            const int count = SSL_write(m_ssl.get(), data, static_cast<int>(size));
            if (count > 0) {
                return count;
            }
            if (!waitForTls(count)) {
                break;
            }
        } else {
            const ssize_t count = ::send(m_socket.get(), data, size, MSG_NOSIGNAL);
            if (count >= 0) {
                return count;
            }
            if ((errno != EAGAIN && errno != EINTR) || !waitFor(POLLOUT)) {
                break;
            }
        }
    }
    fail("the request could not be sent");
    return -1;
}

bool PlatformStream::fail(const std::string &reason)
{
    m_failure = reason;
    return false;
}

// Nothing asks for these on the side of a client.
void PlatformStream::get_remote_ip_and_port(std::string &ip, int &port) const
{
    ip.clear();
    port = 0;
}

void PlatformStream::get_local_ip_and_port(std::string &ip, int &port) const
{
    ip.clear();
    port = 0;
}

} // namespace backend
