#include "localdrive/wire/peer.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace localdrive {
namespace {

// As the kernel's tables of sockets write an address: "0100007F:1F90".
std::string kernelText(const sockaddr_in &address)
{
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "%08X:%04X", address.sin_addr.s_addr,
                  static_cast<unsigned>(ntohs(address.sin_port)));
    return text.data();
}

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The owner of the socket with these ends. The table for IPv6 also holds sockets that speak IPv4;
// their addresses end like those of the other table.
std::optional<uid_t> ownerOf(const char *table, const std::string &local, const std::string &remote)
{
    std::ifstream file(table);
    std::string line;
    std::getline(file, line); // the headings
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string number;
        std::string from;
        std::string to;
        std::string skipped;
        unsigned long uid = 0;
        words >> number >> from >> to >> skipped >> skipped >> skipped >> skipped >> uid;
        if (words && endsWith(from, local) && endsWith(to, remote)) {
            return static_cast<uid_t>(uid);
        }
    }
    return std::nullopt;
}

} // namespace

bool isOwnPeer(int socket)
{
    sockaddr_in own{};
    sockaddr_in peer{};
    socklen_t ownLength = sizeof own;
    socklen_t peerLength = sizeof peer;
    if (::getsockname(socket, reinterpret_cast<sockaddr *>(&own), &ownLength) != 0 ||
        ::getpeername(socket, reinterpret_cast<sockaddr *>(&peer), &peerLength) != 0) {
        return false;
    }
    for (const char *table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        if (const auto owner = ownerOf(table, kernelText(peer), kernelText(own))) {
            return *owner == ::geteuid();
        }
    }
    return false;
}

} // namespace localdrive
