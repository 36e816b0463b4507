#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "backend/wire/address.h"
#include "backend/wire/clock.h"
#include "backend/wire/request.h"
#include "backend/wire/tls.h"
#include "backend/wire/unique_fd.h"

namespace backend {

struct Patience
{
    Milliseconds request = std::chrono::seconds(10); // For a whole request, or reply, on the wire.
    Milliseconds idle = std::chrono::seconds(60);    // Between requests.
};

// A client's connection. Nothing in it waits: advance() does what can be done now and events()
// tells what to wait for. For the listener's thread.
class Connection final
{
public:
    enum class Phase {
        Handshake, // TLS begins.
        Reading,   // A request is awaited or coming.
        Answering, // A request, or the refusal of one, waits for its answer.
        Writing,   // The answer goes out.
        Lingering, // All is said; the client is given time to read it.
        Closed
    };

    // A null context: no TLS.
    Connection(UniqueFd socket, const Address &peer, SSL_CTX *tls, const Patience &patience);

    [[nodiscard]] Phase phase() const { return m_phase; }
    [[nodiscard]] const Address &peer() const { return m_peer; }
    [[nodiscard]] int socket() const { return m_socket.get(); }
    RequestReader &reader() { return m_reader; }

    void advance();
    // Ends the phase Answering.
    void answer(const std::string &bytes, bool closes);
    // Refuses the request that is coming; false when none is.
    bool giveUp();

    // For epoll.
    [[nodiscard]] std::uint32_t events() const;
    [[nodiscard]] bool isLate(Clock::time_point now) const { return now >= m_deadline; }
    [[nodiscard]] bool isAwaitingRequest() const;
    // Since when it has been waiting for a whole request.
    [[nodiscard]] Clock::time_point waitingSince() const { return m_waitingSince; }

private:
    bool shakeHands();
    bool read();
    bool write();
    bool linger();
    void startReading();
    void enter(Phase phase, Milliseconds patience);
    // More than 0, or 0 at the end, or -1 when nothing can be done now.
    ssize_t receive(char *data, std::size_t size);
    ssize_t send(const char *data, std::size_t size);
    ssize_t outcome(ssize_t count, std::uint32_t direction);

    UniqueFd m_socket;
    TlsSession m_ssl; // Goes before its socket.
    const Address m_peer;
    const Patience m_patience;
    Phase m_phase = Phase::Handshake;
    RequestReader m_reader;
    std::string m_reply;
    std::size_t m_sent = 0;
    bool m_closes = false;
    int m_lingered = 0;            // Reads.
    std::uint32_t m_direction = 0; // What the last operation waits for.
    Clock::time_point m_deadline;
    Clock::time_point m_waitingSince;
};

} // namespace backend
