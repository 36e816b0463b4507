#include "backend/platform/platform_client.h"

#include <algorithm>
#include <iterator>

#include "backend/wire/configuration_error.h"
#include "backend/wire/request.h"

namespace backend {
namespace {

// The library's client, but on a connection that is not its own.
class Exchange final : private httplib::ClientImpl
{
public:
    explicit Exchange(const PlatformAddress &platform) : ClientImpl(platform.host, platform.port)
    {
        set_decompress(false);
    }

    bool run(httplib::Stream &stream, httplib::Request &request, httplib::Response &response)
    {
        httplib::Error ignored = httplib::Error::Success;
        return process_request(stream, request, response, true, ignored);
    }
};

std::string hostHeader(const PlatformAddress &platform)
{
    const bool isIpv6 = platform.host.find(':') != std::string::npos;
    const std::string host = isIpv6 ? '[' + platform.host + ']' : platform.host;
    const bool isUsualPort = platform.port == (platform.isTls ? 443 : 80);
    return isUsualPort ? host : host + ':' + std::to_string(platform.port);
}

TlsContext clientTls(const std::string &certificates)
{
    TlsContext context(SSL_CTX_new(TLS_client_method()));
    if (!context || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1) {
        throw ConfigurationError("TLS cannot be set up");
    }
    const int loaded = certificates.empty()
                           ? SSL_CTX_set_default_verify_paths(context.get())
                           : SSL_CTX_load_verify_file(context.get(), certificates.c_str());
    if (loaded != 1) {
        throw ConfigurationError(certificates + ": no certificates can be read");
    }
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    return context;
}

} // namespace

PlatformClient::PlatformClient(const std::string &url, const std::string &certificates,
                               Milliseconds patience)
    : m_platform(PlatformAddress::parse(url))
    , m_patience(patience)
    , m_resolver(m_platform)
    , m_tls(m_platform.isTls ? clientTls(certificates) : nullptr)
{
}

PlatformAnswer PlatformClient::post(const std::string &path, const nlohmann::json &body)
{
    const Clock::time_point deadline = Clock::now() + m_patience;
    PlatformStream stream(deadline, m_tls.get());
    PlatformAnswer answer;
    if (!connect(stream, deadline)) {
        answer.failure = stream.failure().empty() ? "its name is unknown" : stream.failure();
        return answer;
    }
    httplib::Request request;
    request.method = "POST";
    request.path = path;
    request.body = body.dump();
    request.headers = {{"Host", hostHeader(m_platform)},
                       {"User-Agent", "moravu-backend"},
                       {"Accept", "application/json"},
                       {"Accept-Encoding", "identity"},
                       {"Content-Type", "application/json; charset=utf-8"}};
    httplib::Response response;
    if (!Exchange(m_platform).run(stream, request, response)) {
        answer.failure = stream.failure().empty() ? "the reply is no HTTP" : stream.failure();
    } else if (response.body.size() > LargestBody) {
        answer.failure = "the reply is too large";
    } else {
        answer.status = response.status;
        answer.body = std::move(response.body);
        answer.headers = std::move(response.headers);
    }
    return answer;
}

// Each address has an equal share of the time that is left; the last one has all of it.
bool PlatformClient::connect(PlatformStream &stream, Clock::time_point deadline)
{
    const Resolver::Addresses addresses = m_resolver.addresses(deadline);
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        const auto left = (deadline - Clock::now()) / static_cast<int>(addresses.size() - i);
        stream.setDeadline(Clock::now() + left);
        if (stream.connect(m_platform.host, addresses[i])) {
            stream.setDeadline(deadline);
            return true;
        }
    }
    return false;
}

} // namespace backend
