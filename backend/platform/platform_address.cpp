#include "backend/platform/platform_address.h"

#include <cstring>
#include <thread>
#include <utility>

#include <netdb.h>

#include "backend/wire/address.h"
#include "backend/wire/configuration_error.h"

namespace backend {
namespace {

constexpr std::chrono::minutes Lifetime(1);

bool isThisMachine(const std::string &host)
{
    const std::optional<Address> address = Address::parse(host);
    return host == "localhost" || (address && address->isLoopback());
}

Resolver::Addresses lookUp(const std::string &host, int port)
{
    Resolver::Addresses result;
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found) == 0) {
        for (const addrinfo *next = found; next; next = next->ai_next) {
            std::memcpy(&result.emplace_back(), next->ai_addr, next->ai_addrlen);
        }
        ::freeaddrinfo(found);
    }
    return result;
}

// Nothing as well when there was no thread or memory for the lookup.
Resolver::Addresses resultOf(const std::shared_future<Resolver::Addresses> &lookup)
{
    try {
        return lookup.get();
    } catch (const std::exception &) {
        return {};
    }
}

} // namespace

PlatformAddress PlatformAddress::parse(const std::string &url)
{
    constexpr char Secure[] = "https://";
    constexpr char Plain[] = "http://";
    PlatformAddress result;
    result.isTls = url.compare(0, sizeof Secure - 1, Secure) == 0;
    if (!result.isTls && url.compare(0, sizeof Plain - 1, Plain) != 0) {
        throw ConfigurationError(url + ": is no web address");
    }
    std::string rest = url.substr(result.isTls ? sizeof Secure - 1 : sizeof Plain - 1);
    while (!rest.empty() && rest.back() == '/') {
        rest.pop_back();
    }
    const std::size_t bracket = rest.find(']'); // of an IPv6 address
    const std::size_t colon = rest.find(':', bracket == std::string::npos ? 0 : bracket);
    const std::string port = colon < rest.size() ? rest.substr(colon + 1) : "";
    result.host = rest.substr(0, std::min(colon, rest.size()));
    if (bracket != std::string::npos && result.host.front() == '[') {
        result.host = result.host.substr(1, bracket - 1);
    }
    const bool isPort =
        port.size() <= 5 && port.find_first_not_of("0123456789") == std::string::npos;
    result.port = isPort && !port.empty() ? std::stoi(port) : result.isTls ? 443 : 80;
    if (result.host.empty() || !isPort || (colon < rest.size() && port.empty()) ||
        result.port < 1 || result.port > 65535 ||
        result.host.find_first_of("/?#@ ") != std::string::npos) {
        throw ConfigurationError(url + ": is no address of the form https://HOST[:PORT]");
    }
    if (!result.isTls && !isThisMachine(result.host)) {
        throw ConfigurationError(url + ": the secret goes to another machine by https:// only");
    }
    return result;
}

Resolver::Resolver(PlatformAddress platform) : m_platform(std::move(platform)) {}

Resolver::Addresses Resolver::addresses(Clock::time_point deadline)
{
    std::unique_lock lock(m_mutex);
    if (Clock::now() < m_expiry) {
        return m_known;
    }
    if (!m_lookup.valid()) {
        std::packaged_task<Addresses()> task(
            [host = m_platform.host, port = m_platform.port] { return lookUp(host, port); });
        const std::shared_future<Addresses> begun = task.get_future().share();
        // Nothing can cancel a lookup, and nobody has to wait for it.
        std::thread(std::move(task)).detach();
        m_lookup = begun;
    }
    const std::shared_future<Addresses> lookup = m_lookup;
    const bool isStale = !m_known.empty();
    lock.unlock();
    const auto until = isStale ? Clock::now() : deadline;
    const bool isDone = lookup.wait_until(until) == std::future_status::ready;
    lock.lock();
    if (isDone && m_lookup.valid()) {
        m_lookup = {};
        const Addresses found = resultOf(lookup);
        if (!found.empty()) {
            m_known = found;
            m_expiry = Clock::now() + Lifetime;
        }
    }
    return m_known;
}

} // namespace backend
