#pragma once

#include <memory>
#include <string>
#include <vector>

#include "localdrive/accounts/options.h"
#include "localdrive/accounts/tokens.h"
#include "localdrive/wire/fault.h"
#include "localdrive/wire/request_record.h"

// A cloud drive on this machine: an HTTP server on 127.0.0.1 that serves folders of the disk in
// the form of the drive platform's Open API, its OAuth operations and the web page that a phone
// would open. One server, one port, plain HTTP.
//
// Texts are UTF-8, times are milliseconds since the epoch unless a type says otherwise.
namespace localdrive {

// The server. Runs on threads of its own; every member may be called from any thread. Account
// numbers and paths that do not exist throw std::out_of_range or std::filesystem errors: they
// are mistakes of the test, not of the network.
class Server final
{
public:
    explicit Server(Options options = {});
    ~Server(); // Stops, closes every connection and ends the programs it started.
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;
    Server(Server &&) = delete;
    Server &operator=(Server &&) = delete;

    // Listens on 127.0.0.1. False when the port is taken. May be called again after stop(); it
    // then takes the same port as before.
    bool start();
    void stop();
    [[nodiscard]] int port() const;
    [[nodiscard]] std::string baseUrl() const; // "http://127.0.0.1:PORT", no slash at the end.
    // The bearer token of requests to /control/.
    [[nodiscard]] std::string controlSecret() const;

    [[nodiscard]] std::vector<RequestRecord> requests() const;
    [[nodiscard]] std::vector<RequestRecord> requestsTo(const std::string &path) const;
    void clearRequests();

    // Hands requests below /app/ on to the product backends at these addresses, one after the
    // other, so that they are recorded and subject to faults like all others.
    void setBackends(const std::vector<std::string> &addresses);

    void addFault(const Fault &fault);
    void clearFaults();

    // Time as tokens, codes and addresses see it: the machine's time plus what was added.
    void advanceClock(Milliseconds by);
    void setTokenLifetime(Milliseconds lifetime);
    void setUrlLifetime(Milliseconds lifetime);
    void setPageCap(int entries);
    [[nodiscard]] Rules rules() const;
    void setRules(const Rules &rules);

    [[nodiscard]] int accountCount() const;
    [[nodiscard]] std::string userId(int account = 0) const;
    [[nodiscard]] std::string driveId(int account = 0) const;
    void setAccountStatus(int account, const std::string &status);

    // A token pair as a completed QR login would give.
    Tokens loginDirectly(int account = 0);
    // Forgets every token of the account, so that its next request gets 401.
    void revokeTokens(int account);

    // The sids of the QR codes handed out so far, oldest first.
    [[nodiscard]] std::vector<std::string> loginSessions() const;
    bool scanLogin(const std::string &sid);
    bool confirmLogin(const std::string &sid, int account = 0);
    bool cancelLogin(const std::string &sid);
    bool expireLogin(const std::string &sid);

    // Files, by path relative to the account's root ("a/b.mkv"; "" is the root).
    [[nodiscard]] std::string rootPath(int account = 0) const;
    void makeFile(const std::string &path, const std::string &content, int account = 0);
    void makeFolder(const std::string &path, int account = 0);
    [[nodiscard]] std::string fileId(const std::string &path, int account = 0) const;
    // A signed address of the file's content, as getDownloadUrl gives.
    [[nodiscard]] std::string downloadUrl(const std::string &path, Milliseconds lifetime,
                                          int account = 0) const;

    // Makes the HLS streams and thumbnail of a video now and waits. False: not a video.
    bool prepareMedia(const std::string &path, int account = 0);

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace localdrive
