#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backend/secrets/application.h"
#include "backend/wire/clock.h"

// The product backend: the service that holds an application id of the drive platform. It has QR
// codes and tokens issued for clients that must not know the application's secret, and receives
// their encrypted reports. It keeps no state but its token buckets: any number of instances may
// stand behind a balancer.
namespace backend {

struct Options
{
    std::string host = "127.0.0.1";
    int port = 8466; // 0: any free port.
    Application application;
    std::string platform = "https://openapi.alipan.com";
    std::string platformCertificates; // File of those to trust; empty: the system's.
    // Both empty: plain HTTP. The key must be readable by its owner only.
    std::string tlsCertificate;
    std::string tlsKey;
    std::vector<std::string> proxies; // Addresses or networks whose X-Forwarded-For is believed.
    double requestsPerSecond = 10;    // Of one address; 0: no limit.
    double burst = 100;
    std::string reportLog; // Empty: reports are checked and dropped.
    std::int64_t reportLogSize = std::int64_t{1} << 24;
    int reportLogFiles = 5;
    int callsAtOnce = 32;   // To the platform.
    int waitingCalls = 128; // More are answered with 503.
    int connections = 2048;
    Milliseconds platformPatience = std::chrono::seconds(10); // For a whole call.
    // How long a request may wait for its call. A client waits 15 seconds, and what the platform
    // gives for a token that works once must find it there.
    Milliseconds queuePatience = std::chrono::seconds(4);
    Milliseconds requestPatience = std::chrono::seconds(10);
    Milliseconds idlePatience = std::chrono::seconds(60);
    // Is given a line for each request (method, path, status, time) and for each failure of the
    // platform. Called from any thread.
    std::function<void(const std::string &)> log;
};

// Runs on threads of its own; start() and stop() are for one thread. Ignores SIGPIPE in the whole
// process. Mistakes in the options throw ConfigurationError.
class Server final
{
public:
    explicit Server(Options options);
    ~Server(); // Stops.
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;
    Server(Server &&) = delete;
    Server &operator=(Server &&) = delete;

    // May be called again after stop(); it then takes the same port as before.
    void start();
    // Accepts nothing any more, and returns once the requests under way are answered.
    void stop();
    [[nodiscard]] int port() const;
    [[nodiscard]] std::string baseUrl() const; // "http://127.0.0.1:PORT", no slash at the end.

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace backend
