#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>

#include <httplib.h>

#include "backend/wire/clock.h"
#include "backend/wire/tls.h"
#include "backend/wire/unique_fd.h"

namespace backend {

// One connection to the platform as the HTTP library reads and writes it. Whatever the platform
// does, nothing waits past the deadline and no more than the largest reply is read.
class PlatformStream final : public httplib::Stream
{
public:
    // A null context: no TLS.
    PlatformStream(Clock::time_point deadline, SSL_CTX *context);

    void setDeadline(Clock::time_point deadline) { m_deadline = deadline; }
    // True once the connection stands, and the platform's certificate is good for its name.
    bool connect(const std::string &host, const sockaddr_storage &address);
    // Why the last operation failed.
    [[nodiscard]] const std::string &failure() const { return m_failure; }

    [[nodiscard]] bool is_readable() const override;
    [[nodiscard]] bool is_writable() const override;
    ssize_t read(char *data, size_t size) override;
    ssize_t write(const char *data, size_t size) override;
    void get_remote_ip_and_port(std::string &ip, int &port) const override;
    void get_local_ip_and_port(std::string &ip, int &port) const override;
    [[nodiscard]] socket_t socket() const override { return m_socket.get(); }

private:
    [[nodiscard]] bool waitFor(short events) const;
    bool connectSocket(const sockaddr_storage &address);
    bool startTls(const std::string &host);
    bool waitForTls(int result);
    ssize_t receive();
    bool acceptFirstLine();
    bool fail(const std::string &reason);

    Clock::time_point m_deadline;
    SSL_CTX *const m_context;
    UniqueFd m_socket;
    TlsSession m_ssl; // Goes before its socket.
    std::string m_failure;
    std::array<char, 4096> m_buffer{};
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_received = 0;
    std::string m_firstLine;
    bool m_hasFirstLine = false;
};

} // namespace backend
