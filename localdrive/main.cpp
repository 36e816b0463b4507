#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "localdrive/disk/secret_file.h"
#include "localdrive/media/sample_library.h"
#include "localdrive/server.h"
#include "localdrive/wire/crypto.h"

namespace fs = std::filesystem;

namespace {

struct Arguments
{
    std::string host = "127.0.0.1";
    int port = 0;
    std::string portFile;
    std::string secretFile;
    std::string library;
    std::string makeLibrary;
    std::vector<std::string> drives;
    bool writable = false;
    bool readOnly = false;
    double autoLogin = -1;
    double tokenLifetime = 7200;
    double urlLifetime = 0;
    bool strict = false;
    int accounts = 0;
    std::string stateDir;
    std::string application;
};

localdrive::Milliseconds milliseconds(double seconds)
{
    return localdrive::Milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

void describe(CLI::App &app, Arguments &arguments)
{
    app.description("Serves folders of this machine as a cloud drive on 127.0.0.1.");
    app.add_option("--host", arguments.host, "Address to listen on; only 127.0.0.1 is accepted")
        ->check(CLI::IsMember({"127.0.0.1"}));
    app.add_option("--port", arguments.port, "Port; 0 takes a free one")
        ->check(CLI::Range(0, 65535));
    app.add_option("--port-file", arguments.portFile, "File to write the chosen port to");
    app.add_option("--secret-file", arguments.secretFile,
                   "File to write the secret to that steering takes; default: control-secret in "
                   "the folder for tokens");
    app.add_option("--library", arguments.library,
                   "Folder of the sample library to serve; it is made when it is not there");
    app.add_option("--make-library", arguments.makeLibrary,
                   "Make the sample library in this folder, and end");
    app.add_option("--drive", arguments.drives,
                   "Folder of your own to serve, one account for each; read-only by default")
        ->check(CLI::ExistingDirectory);
    app.add_flag("--writable", arguments.writable, "Let folders given with --drive be changed");
    app.add_flag("--read-only", arguments.readOnly, "Let the sample library not be changed");
    app.add_option("--auto-login", arguments.autoLogin,
                   "Scan and confirm each QR code after so many seconds");
    app.add_option("--token-lifetime", arguments.tokenLifetime, "Seconds an access token is valid")
        ->capture_default_str();
    app.add_option("--url-lifetime", arguments.urlLifetime,
                   "Seconds that addresses of content are valid at most; 0: as asked for")
        ->capture_default_str();
    app.add_flag("--strict", arguments.strict,
                 "Be as unkind as the platform: small pages, few calls a second, short-lived "
                 "addresses, two downloads at a time, no streams above 540 lines");
    app.add_option("--accounts", arguments.accounts, "Number of accounts; 0: one for each folder")
        ->check(CLI::Range(0, 100));
    app.add_option("--application", arguments.application,
                   "File with client_id and client_secret of the application that may ask for QR "
                   "codes and tokens; made when it is not there");
    app.add_option("--state-dir", arguments.stateDir,
                   "Folder for tokens, ids and made media; default: in the library, or "
                   "~/.local/state/moravu-localdrive");
}

// The sample library holds a folder for each account, "drives/1", "drives/2", ...
void addLibrary(const Arguments &arguments, localdrive::Options &options)
{
    for (int number = 1;; ++number) {
        const fs::path root = fs::path(arguments.library) / "drives" / std::to_string(number);
        if (!fs::is_directory(root)) {
            return;
        }
        localdrive::AccountOptions account;
        account.root = root;
        account.writable = !arguments.readOnly;
        options.accounts.push_back(account);
    }
}

std::string stateDir(const Arguments &arguments)
{
    if (!arguments.stateDir.empty()) {
        return arguments.stateDir;
    }
    if (!arguments.library.empty()) {
        return arguments.library;
    }
    const char *home = std::getenv("HOME");
    if (!home || arguments.drives.empty()) {
        return {};
    }
    // Ids and tokens of one set of folders mean nothing for another.
    std::string drives;
    for (const std::string &drive : arguments.drives) {
        drives += fs::canonical(drive).string() + '\n';
    }
    const std::string name = localdrive::sha256Hex(drives).substr(0, 16);
    return std::string(home) + "/.local/state/moravu-localdrive/" + name;
}

localdrive::Options serverOptions(const Arguments &arguments)
{
    localdrive::Options options;
    options.accounts.clear();
    if (!arguments.library.empty()) {
        addLibrary(arguments, options);
    }
    for (const std::string &drive : arguments.drives) {
        localdrive::AccountOptions account;
        account.root = drive;
        account.writable = arguments.writable;
        options.accounts.push_back(account);
    }
    if (arguments.accounts > 0 || options.accounts.empty()) {
        options.accounts.resize(static_cast<std::size_t>(std::max(arguments.accounts, 1)));
    }
    options.port = arguments.port;
    options.stateDir = stateDir(arguments);
    options.ownerOnly = !arguments.drives.empty();
    if (!arguments.application.empty()) {
        options.application = localdrive::applicationIn(arguments.application);
    }
    options.tokenLifetime = milliseconds(arguments.tokenLifetime);
    if (arguments.strict) {
        options.rules = localdrive::Rules::strict();
    }
    if (arguments.urlLifetime > 0) {
        options.rules.urlLifetime = milliseconds(arguments.urlLifetime);
    }
    options.probeListedVideos = true;
    if (arguments.autoLogin >= 0) {
        options.autoLogin = milliseconds(arguments.autoLogin);
    }
    return options;
}

void announce(const localdrive::Server &server, const Arguments &arguments)
{
    std::string secretFile = arguments.secretFile;
    if (secretFile.empty() && !stateDir(arguments).empty()) {
        secretFile = stateDir(arguments) + "/control-secret";
    }
    if (!secretFile.empty()) {
        localdrive::writeSecretFile(secretFile, server.controlSecret() + '\n');
    }
    if (!arguments.portFile.empty()) {
        // Whoever waits for the file must not read half of it.
        const std::string draft = arguments.portFile + ".new";
        std::ofstream(draft) << server.port() << '\n';
        fs::rename(draft, arguments.portFile);
    }
    std::cout << "listening on " << server.baseUrl() << std::endl;
}

void makeLibrary(const std::string &folder)
{
    localdrive::makeSampleLibrary(
        folder, [](const std::string &step) { std::cerr << "示例云盘：" << step << '\n'; });
}

int serve(const Arguments &arguments)
{
    if (!arguments.library.empty()) {
        makeLibrary(arguments.library);
    }

    sigset_t endSignals;
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGINT);
    sigaddset(&endSignals, SIGTERM);
    // Blocked before the server's threads begin, so that only sigwait() takes them.
    sigprocmask(SIG_BLOCK, &endSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    localdrive::Server server(serverOptions(arguments));
    if (!server.start()) {
        std::cerr << "port " << arguments.port << " is taken\n";
        return 1;
    }
    announce(server, arguments);
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
        if (arguments.makeLibrary.empty()) {
            return serve(arguments);
        }
        makeLibrary(arguments.makeLibrary);
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "moravu-localdrive: " << error.what() << '\n';
        return 1;
    }
}
