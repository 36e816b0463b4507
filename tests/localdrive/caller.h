#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QtGlobal>

// A connection that says what the HTTP library would not.
class Caller final
{
public:
    explicit Caller(int port, const std::string &text = {})
        : m_socket(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
            send(m_socket, text.data(), text.size(), MSG_NOSIGNAL) < 0) {
            qFatal("no connection");
        }
    }
    Caller(Caller &&other) noexcept : m_socket(std::exchange(other.m_socket, -1)) {}
    ~Caller() { close(m_socket); }

    // The first line of the reply; empty when the connection ends or nothing comes within 3 s.
    std::string answer()
    {
        const timeval patience{3, 0};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        std::string line(200, '\0');
        const ssize_t count = recv(m_socket, line.data(), line.size(), 0);
        m_hasEnded = count == 0;
        line.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return line.substr(0, line.find('\r'));
    }
    [[nodiscard]] bool hasEnded() const { return m_hasEnded; }

private:
    int m_socket;
    bool m_hasEnded = false;
};
