#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A cloud drive on this machine: an HTTP server on 127.0.0.1 that serves folders of the disk in
/// the form of the drive platform's Open API, of the product backend (QR code, tokens, report)
/// and of the web page that a phone would open. One server, one port, plain HTTP.
///
/// Texts are UTF-8, times are milliseconds since the epoch unless a type says otherwise.
namespace localdrive {

using Milliseconds = std::chrono::milliseconds;

/// One user of the drive. Empty texts are filled in from the account's number (0, 1, ...).
struct AccountOptions
{
    std::string root; ///< Folder to serve; empty: an own temporary folder, gone with the server.
    bool writable = true;
    std::string userId;
    std::string driveId;
    std::string nickName;
    std::string phone;
    std::string avatar;
    std::string status = "enabled";
    std::int64_t totalSpace = std::int64_t{1} << 40;
};

struct Options
{
    int port = 0; ///< 0: any free port.
    std::vector<AccountOptions> accounts = {AccountOptions{}};
    /// Tokens, file ids and made media are kept here across runs; empty: a temporary folder.
    std::string stateDir;
    Milliseconds tokenLifetime = std::chrono::hours(2);
    Milliseconds urlLifetime{0}; ///< Longest life of an address; 0: as long as a caller asks.
    Milliseconds qrCodeLifetime = std::chrono::minutes(3);
    std::optional<Milliseconds> autoLogin; ///< Scan and confirm every QR code after this time.
    int pageCap = 0; ///< Entries per listing reply at most; 0: the limit asked.
    bool offerThumbnails = true;
    bool probeListedVideos = false; ///< Measure videos in the background once they are listed.
};

/// What breaks on the wire. Everything but the kind is left as the operation made it.
enum class Break {
    None,
    CloseBeforeReply, ///< The connection closes without a byte.
    CloseInsideBody,  ///< Head and bodyBytes of the body, then the connection closes.
    BrokenJson,       ///< The body is cut in the middle, with a Content-Length that fits.
    NoContentLength,  ///< No Content-Length; the body ends where the connection closes.
    Trickle,          ///< The body comes at bytesPerSecond.
    Freeze,           ///< No byte comes, and the connection stays open.
    FreezeInsideBody, ///< Head and bodyBytes of the body, then silence.
};

/// A fault for the requests whose path (decoded, without the query) the expression is found in.
struct Fault
{
    std::string path;   ///< ECMAScript regular expression, searched for in the path.
    std::string method; ///< Empty: any.
    int count = 1;      ///< So many requests; negative: until cleared.
    int skip = 0;       ///< So many matching requests pass unharmed first.
    Milliseconds delay{0};
    int status = 0;   ///< Not 0: the operation is not run, this status and an error are the reply.
    std::string code; ///< Of the error body; empty: "InjectedFault".
    std::string message;             ///< Of the error body.
    std::optional<std::string> body; ///< Replaces the body of the reply (as JSON content type).
    Break wire = Break::None;
    std::int64_t bodyBytes = -1; ///< Negative: half of the body.
    std::int64_t bytesPerSecond = 1024;
};

/// A request as it arrived, before any fault. Requests to /control/ are not recorded.
struct RequestRecord
{
    std::int64_t number = 0; ///< Counts from 1.
    std::int64_t time = 0;
    std::string method;
    std::string path; ///< Decoded, without the query.
    std::multimap<std::string, std::string> query;
    std::multimap<std::string, std::string> headers; ///< Names in lower case.
    std::string body;
    int account = -1; ///< Number of the account whose token or address was used; -1: none.
    int status = 0;   ///< Of the reply; 0 while it is being made.
};

struct Tokens
{
    std::string tokenType;
    std::string accessToken;
    std::string refreshToken;
    int expiresIn = 0; ///< Seconds.
};

/// The server. Runs on threads of its own; every member may be called from any thread. Account
/// numbers and paths that do not exist throw std::out_of_range or std::filesystem errors: they
/// are mistakes of the test, not of the network.
class Server final
{
public:
    explicit Server(Options options = {});
    ~Server(); ///< Stops, closes every connection and ends the programs it started.
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;
    Server(Server &&) = delete;
    Server &operator=(Server &&) = delete;

    /// Listens on 127.0.0.1. False when the port is taken. May be called again after stop(); it
    /// then takes the same port as before.
    bool start();
    void stop();
    [[nodiscard]] int port() const;
    [[nodiscard]] std::string baseUrl() const; ///< "http://127.0.0.1:PORT", no slash at the end.

    [[nodiscard]] std::vector<RequestRecord> requests() const;
    [[nodiscard]] std::vector<RequestRecord> requestsTo(const std::string &path) const;
    void clearRequests();

    void addFault(const Fault &fault);
    void clearFaults();

    /// Time as tokens, codes and addresses see it: the machine's time plus what was added.
    void advanceClock(Milliseconds by);
    void setTokenLifetime(Milliseconds lifetime);
    void setUrlLifetime(Milliseconds lifetime);
    void setPageCap(int entries);

    [[nodiscard]] int accountCount() const;
    [[nodiscard]] std::string userId(int account = 0) const;
    [[nodiscard]] std::string driveId(int account = 0) const;
    void setAccountStatus(int account, const std::string &status);
    void setWritable(int account, bool writable);

    /// A token pair as a completed QR login would give.
    Tokens loginDirectly(int account = 0);
    /// Forgets every token of the account, so that its next request gets 401.
    void revokeTokens(int account);

    /// The sids of the QR codes handed out so far, oldest first.
    [[nodiscard]] std::vector<std::string> loginSessions() const;
    bool scanLogin(const std::string &sid);
    bool confirmLogin(const std::string &sid, int account = 0);
    bool cancelLogin(const std::string &sid);
    bool expireLogin(const std::string &sid);

    /// Files, by path relative to the account's root ("a/b.mkv"; "" is the root).
    [[nodiscard]] std::string rootPath(int account = 0) const;
    void makeFile(const std::string &path, const std::string &content, int account = 0);
    void makeFolder(const std::string &path, int account = 0);
    [[nodiscard]] std::string fileId(const std::string &path, int account = 0) const;
    /// A signed address of the file's content, as getDownloadUrl gives.
    [[nodiscard]] std::string downloadUrl(const std::string &path, Milliseconds lifetime,
                                          int account = 0) const;

    /// Makes the HLS streams and thumbnail of a video now and waits. False: not a video.
    bool prepareMedia(const std::string &path, int account = 0);

    /// The system reports received, decrypted (JSON text), oldest first.
    [[nodiscard]] std::vector<std::string> reports() const;

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace localdrive
