#include "backend/wire/listener.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include "backend/wire/configuration_error.h"

namespace backend {
namespace {

constexpr std::uint64_t ListeningSource = 0;
constexpr std::uint64_t WakeUpSource = 1;
constexpr ConnectionId FirstConnection = 2;
constexpr Milliseconds Tick(200);
constexpr Milliseconds FinishPatience(2000);
constexpr int Backlog = 1024;

UniqueFd listeningSocket(const std::string &host, int port, std::string &problem)
{
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = AI_PASSIVE | AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo *found = nullptr;
    const int code = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found);
    if (code != 0) {
        problem = ::gai_strerror(code);
        return UniqueFd();
    }
    UniqueFd listening(
        ::socket(found->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
    const int on = 1;
    ::setsockopt(listening.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const bool isListening = ::bind(listening.get(), found->ai_addr, found->ai_addrlen) == 0 &&
                             ::listen(listening.get(), Backlog) == 0;
    problem = std::strerror(errno);
    ::freeaddrinfo(found);
    return isListening ? std::move(listening) : UniqueFd();
}

int portOf(int socket)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    ::getsockname(socket, reinterpret_cast<sockaddr *>(&address), &size);
    // The port stands at the same place for IPv6.
    sockaddr_in four{};
    std::memcpy(&four, &address, sizeof four);
    return ntohs(four.sin_port);
}

void watchDescriptor(int poll, int operation, int descriptor, std::uint64_t source,
                     std::uint32_t events)
{
    epoll_event event{};
    event.events = events;
    event.data.u64 = source;
    ::epoll_ctl(poll, operation, descriptor, &event);
}

bool isShortage(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

} // namespace

Listener::Listener(Settings settings, OnRequest onRequest)
    : m_settings(std::move(settings)), m_onRequest(std::move(onRequest)), m_nextId(FirstConnection)
{
}

Listener::~Listener()
{
    finish();
}

void Listener::start()
{
    std::string problem;
    m_listening = listeningSocket(m_settings.host, m_settings.port, problem);
    if (!m_listening) {
        throw ConfigurationError("cannot listen on " + m_settings.host + " port " +
                                 std::to_string(m_settings.port) + ": " + problem);
    }
    m_port = portOf(m_listening.get());
    m_poll = UniqueFd(::epoll_create1(EPOLL_CLOEXEC));
    m_wakeUp = UniqueFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    watchDescriptor(m_poll.get(), EPOLL_CTL_ADD, m_listening.get(), ListeningSource, EPOLLIN);
    watchDescriptor(m_poll.get(), EPOLL_CTL_ADD, m_wakeUp.get(), WakeUpSource, EPOLLIN);
    m_thread = std::thread([this] { run(); });
}

void Listener::answer(ConnectionId connection, std::string bytes, bool closes)
{
    {
        const std::lock_guard lock(m_mutex);
        m_answers.push_back({connection, std::move(bytes), closes});
    }
    wake();
}

void Listener::drain()
{
    m_isDraining = true;
    wake();
}

void Listener::finish()
{
    if (m_thread.joinable()) {
        m_isDraining = true;
        m_isFinishing = true;
        wake();
        m_thread.join();
    }
}

void Listener::wake() const
{
    const std::uint64_t one = 1;
    // A counter that is full wakes as well.
    [[maybe_unused]] const ssize_t ignored = ::write(m_wakeUp.get(), &one, sizeof one);
}

void Listener::run()
{
    std::array<epoll_event, 256> events{};
    Clock::time_point nextTick = Clock::now() + Tick;
    std::optional<Clock::time_point> end;
    while (!end || (Clock::now() < *end && !m_connections.empty())) {
        const int count = ::epoll_wait(m_poll.get(), events.data(), static_cast<int>(events.size()),
                                       millisecondsUntil(nextTick));
        for (int i = 0; i < count; ++i) {
            const epoll_event &event = events[static_cast<std::size_t>(i)];
            onEvent(event.data.u64, event.events);
        }
        deliver();
        if (m_isDraining) {
            closeIdle();
        }
        if (Clock::now() >= nextTick) {
            onTick(Clock::now());
            nextTick = Clock::now() + Tick;
        }
        if (m_isFinishing && !end) {
            end = Clock::now() + FinishPatience;
        }
    }
    m_connections.clear();
}

void Listener::onEvent(std::uint64_t source, std::uint32_t events)
{
    if (source == ListeningSource) {
        accept();
        return;
    }
    if (source == WakeUpSource) {
        std::uint64_t ignored = 0;
        [[maybe_unused]] const ssize_t count = ::read(m_wakeUp.get(), &ignored, sizeof ignored);
        return;
    }
    const auto found = m_connections.find(source);
    if (found == m_connections.end()) {
        return;
    }
    // Who has hung up has nobody to read the answer.
    const bool hasGone = (events & (EPOLLHUP | EPOLLERR | EPOLLRDHUP)) != 0;
    if (hasGone && found->second->phase() == Connection::Phase::Answering) {
        m_connections.erase(found);
        return;
    }
    advance(found);
}

// One at a time: whoever else waits is reported again.
void Listener::accept()
{
    const auto most = static_cast<std::size_t>(m_settings.connections);
    if (m_connections.size() >= most && !makeRoom()) {
        listen(false);
        return;
    }
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    UniqueFd socket(::accept4(m_listening.get(), reinterpret_cast<sockaddr *>(&address), &size,
                              SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (socket) {
        letIn(std::move(socket), address);
    } else if (isShortage(errno) && !makeRoom()) {
        listen(false);
    }
}

void Listener::letIn(UniqueFd socket, const sockaddr_storage &address)
{
    const int on = 1;
    ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const auto added = m_connections.emplace(
        m_nextId++, std::make_shared<Connection>(std::move(socket), Address::of(address),
                                                 m_settings.tls, m_settings.patience));
    watch(added.first, EPOLL_CTL_ADD);
    advance(added.first);
}

void Listener::listen(bool isOn)
{
    watchDescriptor(m_poll.get(), EPOLL_CTL_MOD, m_listening.get(), ListeningSource,
                    isOn ? EPOLLIN : 0U);
}

bool Listener::makeRoom()
{
    auto oldest = m_connections.end();
    for (auto next = m_connections.begin(); next != m_connections.end(); ++next) {
        if (next->second->isAwaitingRequest() &&
            (oldest == m_connections.end() ||
             next->second->waitingSince() < oldest->second->waitingSince())) {
            oldest = next;
        }
    }
    if (oldest == m_connections.end()) {
        return false;
    }
    m_connections.erase(oldest);
    return true;
}

void Listener::deliver()
{
    std::vector<Answer> answers;
    {
        const std::lock_guard lock(m_mutex);
        answers.swap(m_answers);
    }
    for (Answer &answer : answers) {
        const auto found = m_connections.find(answer.connection);
        if (found != m_connections.end()) {
            found->second->answer(answer.bytes, answer.closes || m_isDraining);
            advance(found);
        }
    }
}

void Listener::onTick(Clock::time_point now)
{
    if (m_listening) {
        listen(true);
    }
    for (auto next = m_connections.begin(); next != m_connections.end();) {
        const auto current = next++;
        Connection &connection = *current->second;
        if (connection.phase() == Connection::Phase::Answering || !connection.isLate(now)) {
            continue;
        }
        if (connection.giveUp()) {
            advance(current);
        } else {
            m_connections.erase(current);
        }
    }
}

void Listener::closeIdle()
{
    m_listening = UniqueFd();
    for (auto next = m_connections.begin(); next != m_connections.end();) {
        const auto current = next++;
        if (current->second->isAwaitingRequest()) {
            m_connections.erase(current);
        }
    }
}

void Listener::advance(Connections::iterator found)
{
    Connection &connection = *found->second;
    const bool wasAnswering = connection.phase() == Connection::Phase::Answering;
    connection.advance();
    if (connection.phase() == Connection::Phase::Closed) {
        m_connections.erase(found);
        return;
    }
    watch(found, EPOLL_CTL_MOD);
    if (connection.phase() == Connection::Phase::Answering && !wasAnswering) {
        hand(found);
    }
}

void Listener::watch(Connections::iterator found, int operation)
{
    watchDescriptor(m_poll.get(), operation, found->second->socket(), found->first,
                    found->second->events());
}

void Listener::hand(Connections::iterator found)
{
    RequestReader &reader = found->second->reader();
    Incoming incoming;
    incoming.connection = found->first;
    incoming.peer = found->second->peer();
    incoming.client = found->second;
    if (reader.state() == RequestReader::State::Complete) {
        incoming.request = reader.take();
    } else {
        incoming.request = reader.request();
        incoming.refusal = reader.refusal();
    }
    m_onRequest(std::move(incoming));
}

} // namespace backend
