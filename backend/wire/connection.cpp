#include "backend/wire/connection.h"

#include <array>
#include <cerrno>
#include <utility>

#include <openssl/err.h>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace backend {
namespace {

constexpr Milliseconds LingerPatience(1000);
constexpr int MostReads = 32;     // at a time, so that one client does not keep the others waiting
constexpr int MostLingering = 64; // reads, of 16 KiB each

} // namespace

Connection::Connection(UniqueFd socket, const Address &peer, SSL_CTX *tls, const Patience &patience)
    : m_socket(std::move(socket))
    , m_ssl(tls ? SSL_new(tls) : nullptr)
    , m_peer(peer)
    , m_patience(patience)
    , m_waitingSince(Clock::now())
{
    if (!tls) {
        startReading();
    } else if (m_ssl && SSL_set_fd(m_ssl.get(), m_socket.get()) == 1) {
        enter(Phase::Handshake, patience.request);
    } else {
        m_phase = Phase::Closed;
    }
}

void Connection::advance()
{
    bool isMoving = true;
    while (isMoving) {
        switch (m_phase) {
        case Phase::Handshake:
            isMoving = shakeHands();
            break;
        case Phase::Reading:
            isMoving = read();
            break;
        case Phase::Writing:
            isMoving = write();
            break;
        case Phase::Lingering:
            isMoving = linger();
            break;
        case Phase::Answering:
        case Phase::Closed:
            isMoving = false;
            break;
        }
    }
}

void Connection::answer(const std::string &bytes, bool closes)
{
    m_reply += bytes;
    m_closes = closes;
    enter(Phase::Writing, m_patience.request);
}

bool Connection::giveUp()
{
    return m_phase == Phase::Reading && m_reader.giveUp();
}

std::uint32_t Connection::events() const
{
    return m_phase == Phase::Answering ? std::uint32_t{EPOLLRDHUP} : m_direction;
}

bool Connection::isAwaitingRequest() const
{
    return m_phase == Phase::Handshake || m_phase == Phase::Reading;
}

bool Connection::shakeHands()
{
    ERR_clear_error();
    const int result = SSL_accept(m_ssl.get());
    if (result == 1) {
        startReading();
        return true;
    }
    if (outcome(result, EPOLLIN) >= 0) {
        m_phase = Phase::Closed;
    }
    return false;
}

bool Connection::read()
{
    std::array<char, 16384> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
    for (int i = 0; i < MostReads; ++i) {
        using State = RequestReader::State;
        if (m_reader.state() == State::Complete || m_reader.state() == State::Refused) {
            m_phase = Phase::Answering;
            return true;
        }
        const bool wasEmpty = m_reader.state() == State::Empty;
        const ssize_t count = receive(buffer.data(), buffer.size());
        if (count == 0) {
            m_phase = Phase::Closed;
        }
        if (count <= 0) {
            return false;
        }
        m_reader.append(buffer.data(), static_cast<std::size_t>(count));
        // Empty lines begin nothing.
        if (wasEmpty && m_reader.state() != State::Empty) {
            enter(Phase::Reading, m_patience.request);
        }
        if (m_reader.takeContinue()) {
            constexpr char Continue[] = "HTTP/1.1 100 Continue\r\n\r\n";
            send(Continue, sizeof Continue - 1); // A client that misses it waits a second.
        }
    }
    m_direction = EPOLLIN;
    return false;
}

bool Connection::write()
{
    while (m_sent < m_reply.size()) {
        const ssize_t count = send(&m_reply[m_sent], m_reply.size() - m_sent);
        if (count == 0) {
            m_phase = Phase::Closed;
        }
        if (count <= 0) {
            return false;
        }
        m_sent += static_cast<std::size_t>(count);
    }
    m_reply = std::string();
    m_sent = 0;
    if (m_closes) {
        // Closing with bytes unread would take the reply back from the client.
        if (m_ssl) {
            SSL_shutdown(m_ssl.get());
        }
        ::shutdown(m_socket.get(), SHUT_WR);
        enter(Phase::Lingering, LingerPatience);
    } else {
        startReading();
    }
    return true;
}

bool Connection::linger()
{
    std::array<char, 16384> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): never read
    for (; m_lingered < MostLingering; ++m_lingered) {
        const ssize_t count = ::recv(m_socket.get(), buffer.data(), buffer.size(), 0);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
            m_direction = EPOLLIN;
            return false;
        }
        if (count <= 0) {
            break;
        }
    }
    m_phase = Phase::Closed;
    return false;
}

void Connection::startReading()
{
    m_waitingSince = Clock::now();
    const bool isEmpty = m_reader.state() == RequestReader::State::Empty;
    enter(Phase::Reading, isEmpty ? m_patience.idle : m_patience.request);
}

void Connection::enter(Phase phase, Milliseconds patience)
{
    m_phase = phase;
    m_deadline = Clock::now() + patience;
    m_direction = phase == Phase::Writing ? EPOLLOUT : EPOLLIN;
}

ssize_t Connection::receive(char *data, std::size_t size)
{
    if (m_ssl) {
        ERR_clear_error();
        return outcome(SSL_read(m_ssl.get(), data, static_cast<int>(size)), EPOLLIN);
    }
    return outcome(::recv(m_socket.get(), data, size, 0), EPOLLIN);
}

ssize_t Connection::send(const char *data, std::size_t size)
{
    if (m_ssl) {
        ERR_clear_error();
        return outcome(SSL_write(m_ssl.get(), data, static_cast<int>(size)), EPOLLOUT);
    }
    return outcome(::send(m_socket.get(), data, size, MSG_NOSIGNAL), EPOLLOUT);
}

ssize_t Connection::outcome(ssize_t count, std::uint32_t direction)
{
    if (count > 0) {
        return count;
    }
    if (!m_ssl) {
        m_direction = direction;
        return count < 0 && (errno == EAGAIN || errno == EINTR) ? -1 : 0;
    }
    const int error = SSL_get_error(m_ssl.get(), static_cast<int>(count));
    m_direction = error == SSL_ERROR_WANT_WRITE ? EPOLLOUT : EPOLLIN;
    return error == SSL_ERROR_WANT_WRITE || error == SSL_ERROR_WANT_READ ? -1 : 0;
}

} // namespace backend
