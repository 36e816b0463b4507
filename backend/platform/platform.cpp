#include "backend/platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "backend/secrets/crypto.h"

namespace backend {
namespace {

using Json = nlohmann::json;

constexpr char QrCodePath[] = "/oauth/authorize/qrcode";
constexpr char TokenPath[] = "/oauth/access_token";
constexpr int QrCodeSize = 430;              // pixels of a picture that clients draw themselves
constexpr std::int64_t UsualLifetime = 7200; // seconds

struct PlatformError
{
    std::string code;
    std::string message;
};

Json parsed(const std::string &body)
{
    return Json::parse(body, nullptr, false);
}

// A text of an object, or nothing where it has none.
std::string text(const Json &object, const char *key)
{
    const auto found = object.is_object() ? object.find(key) : object.end();
    return object.is_object() && found != object.end() && found->is_string()
               ? found->get<std::string>()
               : std::string();
}

// Errors come as {code, message}, now and then with capitals, or in the gateway's headers only.
PlatformError errorOf(const PlatformAnswer &answer)
{
    const Json body = parsed(answer.body);
    const auto either = [&](const char *key, const char *capital, const char *header) {
        const std::string small = text(body, key);
        const std::string large = small.empty() ? text(body, capital) : small;
        const auto field = answer.headers.find(header);
        return large.empty() && field != answer.headers.end() ? field->second : large;
    };
    return {either("code", "Code", "x-ca-error-code"),
            either("message", "Message", "x-ca-error-message")};
}

// A client puts it into an address and asks for its state.
bool isSid(const std::string &sid)
{
    constexpr std::size_t Longest = 128;
    return !sid.empty() && sid.size() <= Longest && std::all_of(sid.begin(), sid.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               c == '-' || c == '_';
    });
}

int number(const PlatformAnswer &answer, const char *header)
{
    const auto field = answer.headers.find(header);
    constexpr std::size_t MostDigits = 9;
    const bool isNumber = field != answer.headers.end() && !field->second.empty() &&
                          field->second.size() <= MostDigits &&
                          field->second.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? std::stoi(field->second) : 0;
}

// In seconds; the platform's own header is in milliseconds.
int delayOf(const PlatformAnswer &answer)
{
    const int milliseconds = number(answer, "x-retry-after");
    const int seconds =
        milliseconds > 0 ? (milliseconds + 999) / 1000 : number(answer, "Retry-After");
    return std::max(seconds, 1);
}

bool isRefusedGrant(int status)
{
    return status == 400 || status == 401 || status == 403;
}

std::int64_t lifetimeOf(const Json &tokens)
{
    const auto found = tokens.find("expires_in");
    const bool isNumber = found != tokens.end() && found->is_number_integer();
    const std::int64_t seconds = isNumber ? found->get<std::int64_t>() : 0;
    // The tokens are worth more than their lifetime: the refresh token that gave them is used up.
    return seconds > 0 && seconds <= INT32_MAX ? seconds : UsualLifetime;
}

} // namespace

Platform::Platform(Application application, PlatformClient &client, Log log)
    : m_application(std::move(application)), m_client(client), m_log(std::move(log))
{
}

Reply Platform::issueQrCode()
{
    Json request = credentials();
    request["scopes"] = {"user:base", "file:all:read", "file:all:write"};
    request["width"] = QrCodeSize;
    request["height"] = QrCodeSize;
    if (m_application.secret.empty()) {
        request["code_challenge"] = toBase64Url(sha256(m_application.verifier));
        request["code_challenge_method"] = "S256";
    }
    const PlatformAnswer answer = m_client.post(QrCodePath, request);
    if (answer.status != 200) {
        return refusal(QrCodePath, answer, {});
    }
    const Json body = parsed(answer.body);
    const std::string sid = text(body, "sid");
    const std::string url = text(body, "qrCodeUrl");
    if (!isSid(sid) || url.empty()) {
        return unusable(QrCodePath, "its reply has no usable sid or qrCodeUrl");
    }
    return success({{"code", 200}, {"msg", "success"}, {"qrCodeUrl", url}, {"sid", sid}});
}

Reply Platform::exchangeCode(const std::string &code)
{
    Json grant = {{"grant_type", "authorization_code"}, {"code", code}};
    if (m_application.secret.empty()) {
        grant["code_verifier"] = m_application.verifier;
    }
    return requestTokens(grant, code);
}

Reply Platform::renew(const std::string &refreshToken)
{
    if (m_application.secret.empty()) {
        return failure(400, "RefreshUnsupported",
                       "Tokens of this application cannot be renewed; log in again");
    }
    return requestTokens({{"grant_type", "refresh_token"}, {"refresh_token", refreshToken}},
                         refreshToken);
}

Reply Platform::requestTokens(const Json &grant, const std::string &value)
{
    Json request = credentials();
    request.update(grant);
    const PlatformAnswer answer = m_client.post(TokenPath, request);
    if (answer.status != 200) {
        return refusal(TokenPath, answer, value);
    }
    const Json body = parsed(answer.body);
    const std::string accessToken = text(body, "access_token");
    if (accessToken.empty()) {
        return unusable(TokenPath, "its reply has no access_token");
    }
    const std::string type = text(body, "token_type");
    return success({{"tokenType", type.empty() ? "Bearer" : type},
                    {"accessToken", accessToken},
                    {"refreshToken", text(body, "refresh_token")},
                    {"expiresIn", lifetimeOf(body)}});
}

Json Platform::credentials() const
{
    Json result = {{"client_id", m_application.id}};
    if (!m_application.secret.empty()) {
        result["client_secret"] = m_application.secret;
    }
    return result;
}

// What a client is told of an answer that is no success. A grant that is refused is the client's
// affair; any other refusal is one of this service's, whatever status it has.
Reply Platform::refusal(const std::string &operation, const PlatformAnswer &answer,
                        const std::string &grant)
{
    if (answer.status == 0) {
        return unusable(operation, answer.failure);
    }
    PlatformError error = errorOf(answer);
    error = {scrubbed(error.code, grant), scrubbed(error.message, grant)};
    if (answer.status == 429) {
        return tooManyRequests(delayOf(answer));
    }
    if (!grant.empty() && isRefusedGrant(answer.status) && !error.code.empty()) {
        return failure(400, error.code, error.message);
    }
    return unusable(operation, "status " + std::to_string(answer.status) + ' ' + error.code + ' ' +
                                   error.message);
}

Reply Platform::unusable(const std::string &operation, const std::string &why)
{
    m_log("platform: " + operation + ": " + why);
    return failure(502, "PlatformUnavailable", "The platform cannot be used: " + why);
}

bool Platform::isClean(const std::string &text) const
{
    const std::string &secret =
        m_application.secret.empty() ? m_application.verifier : m_application.secret;
    return text.find(secret) == std::string::npos;
}

// One line of bounded length from what the platform says. A code or token that it repeats is
// withheld; what is shorter than any of them may be a part of any word.
std::string Platform::scrubbed(const std::string &text, const std::string &grant) const
{
    constexpr std::size_t Longest = 300;
    constexpr std::size_t ShortestGrant = 8;
    const bool hasGrant = grant.size() >= ShortestGrant && text.find(grant) != std::string::npos;
    if (hasGrant || !isClean(text)) {
        return "(withheld)";
    }
    std::string result = text.substr(0, Longest);
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; }, ' ');
    return result;
}

} // namespace backend
