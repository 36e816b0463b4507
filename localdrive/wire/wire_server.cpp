#include "localdrive/wire/wire_server.h"

#include <algorithm>
#include <set>

#include <fcntl.h>
#include <netinet/tcp.h>

#include "localdrive/wire/connection_threads.h"

namespace localdrive {
namespace {

constexpr std::size_t MostBodyBytes = std::size_t{1} << 20;

// Two lengths could be read as two requests by whoever stands between.
bool contradictsItself(const httplib::Headers &headers)
{
    std::set<std::string> lengths;
    const auto [begin, end] = headers.equal_range("Content-Length");
    for (auto header = begin; header != end; ++header) {
        lengths.insert(header->second);
    }
    const bool isNumber = std::all_of(lengths.begin(), lengths.end(), [](const std::string &text) {
        return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    });
    return lengths.size() > 1 || !isNumber ||
           (!lengths.empty() && headers.count("Transfer-Encoding") != 0);
}

bool isTooLong(const httplib::Request &request)
{
    return request.get_header_value<std::uint64_t>("Content-Length") > MostBodyBytes;
}

// The library would read a body to its end before it refuses it.
httplib::Server::HandlerResponse checkHead(const httplib::Request &request,
                                           httplib::Response &response)
{
    Connection *connection = Connection::current();
    const bool isWrong = contradictsItself(connection->originalHeaders);
    if (!isWrong && !isTooLong(request)) {
        return httplib::Server::HandlerResponse::Unhandled;
    }
    response.status = isWrong ? 400 : 413;
    connection->closeAfter(response);
    return httplib::Server::HandlerResponse::Handled;
}

} // namespace

WireServer::WireServer(const Handler &handler, const Patience &patience) : m_patience(patience)
{
    new_task_queue = [this] {
        return new ConnectionThreads(MostConnections, [this] { closeLongestWaiting(); });
    };
    set_keep_alive_max_count(1000);
    set_keep_alive_timeout(
        std::chrono::duration_cast<std::chrono::seconds>(m_patience.betweenRequests).count());
    set_payload_max_length(MostBodyBytes);
    // A paused player leaves its download unread for long.
    set_write_timeout(std::chrono::hours(1));
    // The library would let two servers share a port.
    set_socket_options([](socket_t socket) {
        const int on = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    });
    set_pre_routing_handler(checkHead);
    set_post_routing_handler([](const httplib::Request &, httplib::Response &response) {
        if (Connection *connection = Connection::current()) {
            connection->prepareHead(response);
        }
    });
    routeAllTo([handler](const httplib::Request &request, httplib::Response &response) {
        Connection::current()->beginReply();
        handler(request, response);
    });
}

void WireServer::routeAllTo(const Handler &handler)
{
    constexpr char AnyPath[] = R"([\s\S]*)";
    Get(AnyPath, handler);
    Post(AnyPath, handler);
    Put(AnyPath, handler);
    Patch(AnyPath, handler);
    Delete(AnyPath, handler);
    Options(AnyPath, handler);
}

void WireServer::shutDownConnections()
{
    m_stopping = true;
    const std::lock_guard lock(m_mutex);
    for (const auto &[socket, connection] : m_open) {
        ::shutdown(socket, SHUT_RDWR);
    }
}

void WireServer::closeLongestWaiting()
{
    const std::lock_guard lock(m_mutex);
    const auto longest =
        std::min_element(m_open.begin(), m_open.end(), [](const auto &a, const auto &b) {
            return a.second->waitingSince() < b.second->waitingSince();
        });
    if (longest != m_open.end() && longest->second->waitingSince() != Connection::Never) {
        ::shutdown(longest->first, SHUT_RDWR);
        m_open.erase(longest); // the next one to give way is another
    }
}

void WireServer::serve(Connection &connection)
{
    bool isOpen = true;
    while (isOpen && !m_stopping && connection.waitForRequest(m_patience.betweenRequests)) {
        connection.beginExchange();
        bool isClosed = false;
        isOpen = process_request(connection, false, isClosed, [&](httplib::Request &request) {
            // Ranges are answered exactly by the operations, and bodies go out as they are.
            connection.originalHeaders = request.headers;
            request.ranges.clear();
            request.headers.erase("Accept-Encoding");
        });
        connection.endExchange();
        isOpen = isOpen && !isClosed && !connection.mustClose();
    }
}

bool WireServer::process_and_close_socket(socket_t sock)
{
    const int on = 1;
    ::setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ::fcntl(sock, F_SETFD, FD_CLOEXEC);
    Connection connection(sock, m_patience.forRequest);
    {
        const std::lock_guard lock(m_mutex);
        m_open.emplace(sock, &connection);
    }
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
