#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string>

#include <CLI/CLI.hpp>
#include <sys/resource.h>

#include "backend/secrets/application.h"
#include "backend/secrets/environment.h"
#include "backend/secrets/secret_file.h"
#include "backend/server.h"

namespace fs = std::filesystem;

namespace {

struct Arguments
{
    backend::Options options;
    backend::ApplicationFiles files;
    std::string portFile;
};

// systemd names a folder; by hand it is the user's.
std::string usualReportLog()
{
    const std::string folder = backend::environment("LOGS_DIRECTORY");
    const std::string home = backend::environment("HOME");
    if (!folder.empty()) {
        return folder + "/reports.log";
    }
    return home.empty() ? std::string() : home + "/.local/state/moravu-backend/reports.log";
}

void describe(CLI::App &app, Arguments &arguments)
{
    backend::Options &options = arguments.options;
    options.reportLog = usualReportLog();
    app.description("Issues login codes and tokens of a drive platform for the client moravu.");
    app.set_version_flag("--version", "moravu-backend " MORAVU_VERSION);
    app.add_option("--host", options.host, "Address to listen on")->capture_default_str();
    app.add_option("--port", options.port, "Port; 0 takes a free one")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--port-file", arguments.portFile, "File to write the chosen port to");
    app.add_option("--application", arguments.files.application,
                   "File with client_id and client_secret, for its owner's eyes only");
    app.add_option("--pkce-key", arguments.files.pkceKey,
                   "Key file for an application that has no secret");
    app.add_option("--platform", options.platform, "Address of the platform")
        ->capture_default_str();
    app.add_option("--platform-certificates", options.platformCertificates,
                   "File of certificates to trust for the platform; default: the system's");
    app.add_option("--tls-certificate", options.tlsCertificate,
                   "Certificate file; it listens with TLS then");
    app.add_option("--tls-key", options.tlsKey, "Key file of the certificate");
    app.add_option("--proxy", options.proxies,
                   "Address or network whose X-Forwarded-For is believed; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--rate", options.requestsPerSecond, "Requests a second of one address; 0: any")
        ->check(CLI::Range(0.0, 1e6))
        ->capture_default_str();
    app.add_option("--burst", options.burst, "Requests that one address may send at once")
        ->check(CLI::Range(1.0, 1e6))
        ->capture_default_str();
    app.add_option("--calls", options.callsAtOnce, "Calls to the platform at a time")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--queue", options.waitingCalls, "Requests that wait for a call; more get 503")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    app.add_option("--connections", options.connections, "Connections at a time")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    app.add_option("--report-log", options.reportLog,
                   "File that keeps the clients' reports; empty: none are kept")
        ->capture_default_str();
}

// Every connection takes a descriptor, and every call to the platform another one.
void raiseDescriptorLimit(const backend::Options &options)
{
    constexpr rlim_t Others = 64;
    const auto wanted = static_cast<rlim_t>(options.connections + options.callsAtOnce) + Others;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(wanted, limit.rlim_max));
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

void announce(const backend::Server &server, const std::string &portFile)
{
    if (!portFile.empty()) {
        // Whoever waits for the file must not read half of it.
        const std::string draft = portFile + ".new";
        std::ofstream(draft) << server.port() << '\n';
        fs::rename(draft, portFile);
    }
    std::cout << "listening on " << server.baseUrl() << std::endl;
}

int serve(Arguments &arguments)
{
    std::mutex mutex;
    arguments.options.log = [&mutex](const std::string &line) {
        const std::lock_guard lock(mutex);
        std::cout << line << std::endl;
    };
    arguments.options.application = backend::readApplication(arguments.files);

    sigset_t endSignals;
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGINT);
    sigaddset(&endSignals, SIGTERM);
    // Blocked before the server's threads begin, so that only sigwait() takes them.
    sigprocmask(SIG_BLOCK, &endSignals, nullptr);

    raiseDescriptorLimit(arguments.options);
    backend::Server server(arguments.options);
    server.start();
    announce(server, arguments.portFile);
    int received = 0;
    sigwait(&endSignals, &received);
    server.stop();
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        CLI::App app;
        Arguments arguments;
        describe(app, arguments);
        CLI11_PARSE(app, argc, argv);
        return serve(arguments);
    } catch (const std::exception &error) {
        std::cerr << "moravu-backend: " << error.what() << '\n';
        return 1;
    }
}
