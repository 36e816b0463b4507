#include "backend/server.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <exception>
#include <optional>
#include <utility>

#include "backend/routes.h"
#include "backend/secrets/server_tls.h"
#include "backend/wire/configuration_error.h"
#include "backend/wire/listener.h"
#include "backend/wire/token_buckets.h"
#include "backend/wire/work_queue.h"

namespace backend {
namespace {

// After stop(), what still waits for its turn is refused.
constexpr Milliseconds DrainPatience(5000);

std::vector<Network> networks(const std::vector<std::string> &texts)
{
    std::vector<Network> result;
    for (const std::string &text : texts) {
        const std::optional<Network> network = Network::parse(text);
        if (!network) {
            throw ConfigurationError(text + ": is no address of a proxy");
        }
        result.push_back(*network);
    }
    return result;
}

// Tokens do not cross a network in the clear.
void requireSafety(const Options &options)
{
    if (options.application.id.empty() ||
        options.application.secret.empty() == options.application.verifier.empty()) {
        throw ConfigurationError("an application with a secret or a verifier is needed");
    }
    const std::optional<Address> host = Address::parse(options.host);
    if (!host) {
        throw ConfigurationError(options.host + ": is no address to listen on");
    }
    if (!host->isLoopback() && options.tlsCertificate.empty() && options.proxies.empty()) {
        throw ConfigurationError("beyond this machine it listens with TLS, or behind a proxy that "
                                 "is named");
    }
    if (options.tlsCertificate.empty() != options.tlsKey.empty()) {
        throw ConfigurationError("TLS needs a certificate and a key");
    }
}

std::string logLine(const Request &request, int status, Clock::time_point started)
{
    constexpr std::size_t LongestPath = 200;
    const auto time = std::chrono::duration_cast<Milliseconds>(Clock::now() - started).count();
    const auto orDash = [](const std::string &text) { return text.empty() ? "-" : text; };
    return orDash(request.method) + ' ' + orDash(request.path.substr(0, LongestPath)) + ' ' +
           std::to_string(status) + ' ' + std::to_string(time) + " ms";
}

} // namespace

class Server::Private final
{
public:
    explicit Private(Options given)
        : options((requireSafety(given), std::move(given)))
        , proxies(networks(options.proxies))
        , buckets(options.requestsPerSecond, options.burst)
        , tls(serverTls(options.tlsCertificate, options.tlsKey))
        , client(options.platform, options.platformCertificates, options.platformPatience)
        , platform(options.application, client, [this](const std::string &line) { log(line); })
        , reports(options.reportLog, options.reportLogSize, options.reportLogFiles)
        , services{platform, reports}
        , port(options.port)
    {
    }

    void log(const std::string &line) const
    {
        if (options.log) {
            options.log(line);
        }
    }

    // What runs between start() and stop().
    struct Run
    {
        Run(const Options &options, Listener::Settings settings, Listener::OnRequest onRequest)
            : listener(std::move(settings), std::move(onRequest))
            , calls(options.callsAtOnce, options.waitingCalls)
            , writes(1, options.waitingCalls)
        {
        }
        Listener listener; // Goes last: jobs answer through it.
        WorkQueue calls;
        WorkQueue writes;
        std::atomic<Clock::time_point> lastCallAt{Clock::time_point::max()};
    };

    [[nodiscard]] Listener::Settings listenerSettings() const
    {
        return {options.host,
                port,
                options.connections,
                tls.get(),
                {options.requestPatience, options.idlePatience}};
    }

    void onRequest(Incoming &&incoming);
    void perform(const Route &route, const Incoming &incoming, Clock::time_point started);
    void respond(const Incoming &incoming, const Reply &reply, Clock::time_point started);
    int secondsToWait(const Incoming &incoming);
    [[nodiscard]] bool isOverheard(const Address &peer) const;
    [[nodiscard]] bool mayPerform(const Route &route, const Incoming &incoming,
                                  Clock::time_point started) const;

    const Options options;
    const std::vector<Network> proxies;
    TokenBuckets buckets; // For the listener's thread.
    const TlsContext tls;
    PlatformClient client;
    Platform platform;
    RotatingLog reports;
    Services services;
    int port; // 0 until the first start, when any will do.
    std::unique_ptr<Run> run;
};

void Server::Private::onRequest(Incoming &&incoming)
{
    const Clock::time_point started = Clock::now();
    const Route &route = routeFor(incoming.request);
    const bool isFree = !incoming.refusal && route.lane == Lane::None;
    const int seconds = isFree ? 0 : secondsToWait(incoming);
    if (seconds > 0) {
        respond(incoming, tooManyRequests(seconds), started);
        return;
    }
    if (isOverheard(incoming.peer)) {
        respond(incoming, failure(403, "ForbiddenPeer", "Come through the proxy"), started);
        return;
    }
    if (incoming.refusal) {
        respond(incoming, *incoming.refusal, started);
        return;
    }
    if (route.lane == Lane::None || route.lane == Lane::Refusal) {
        respond(incoming, route.answer(incoming.request, services), started);
        return;
    }
    const auto shared = std::make_shared<Incoming>(std::move(incoming));
    WorkQueue &queue = route.lane == Lane::Platform ? run->calls : run->writes;
    if (!queue.push([this, &route, shared, started] { perform(route, *shared, started); })) {
        respond(*shared, overloaded(), started);
    }
}

int Server::Private::secondsToWait(const Incoming &incoming)
{
    return options.requestsPerSecond > 0
               ? buckets.take(clientAddress(incoming.peer, incoming.request.forwardedFor, proxies))
               : 0;
}

// Whether what it says crosses a network in the clear. Named proxies are on one that is trusted.
bool Server::Private::isOverheard(const Address &peer) const
{
    return !tls && !peer.isLoopback() && !contains(proxies, peer);
}

bool Server::Private::mayPerform(const Route &route, const Incoming &incoming,
                                 Clock::time_point started) const
{
    const Clock::time_point now = Clock::now();
    const bool isAwaited = now - started < options.queuePatience && !incoming.client.expired();
    return now < run->lastCallAt.load() && (route.lane != Lane::Platform || isAwaited);
}

void Server::Private::perform(const Route &route, const Incoming &incoming,
                              Clock::time_point started)
{
    Reply reply = overloaded();
    try {
        if (mayPerform(route, incoming, started)) {
            reply = route.answer(incoming.request, services);
        }
    } catch (const std::exception &error) {
        log(std::string("error: ") + error.what());
        reply = failure(500, "InternalError", "The request could not be answered");
    }
    respond(incoming, reply, started);
}

void Server::Private::respond(const Incoming &incoming, const Reply &reply,
                              Clock::time_point started)
{
    const bool closes = incoming.refusal || incoming.request.closesConnection;
    const bool isHead = incoming.request.method == "HEAD";
    int status = reply.status;
    std::string bytes = toHttp(reply, closes, isHead);
    if (!platform.isClean(bytes)) {
        status = 502;
        bytes = toHttp(failure(status, "PlatformUnavailable", "The reply was withheld"), closes,
                       isHead);
    }
    log(logLine(incoming.request, status, started));
    run->listener.answer(incoming.connection, std::move(bytes), closes);
}

Server::Server(Options options) : d(std::make_unique<Private>(std::move(options)))
{
    std::signal(SIGPIPE, SIG_IGN);
}

Server::~Server()
{
    stop();
}

void Server::start()
{
    if (d->run) {
        return;
    }
    d->run = std::make_unique<Private::Run>(
        d->options, d->listenerSettings(),
        [this](Incoming &&incoming) { d->onRequest(std::move(incoming)); });
    try {
        d->run->listener.start();
    } catch (...) {
        d->run.reset();
        throw;
    }
    d->port = d->run->listener.port();
}

void Server::stop()
{
    if (!d->run) {
        return;
    }
    d->run->lastCallAt = Clock::now() + DrainPatience;
    d->run->listener.drain();
    d->run->calls.finish();
    d->run->writes.finish();
    d->run->listener.finish();
    d->run.reset();
}

int Server::port() const
{
    return d->port;
}

std::string Server::baseUrl() const
{
    const bool isIpv6 = d->options.host.find(':') != std::string::npos;
    return (d->tls ? "https://" : "http://") +
           (isIpv6 ? '[' + d->options.host + ']' : d->options.host) + ':' + std::to_string(d->port);
}

} // namespace backend
