#include "backend/wire/request.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "backend/wire/text.h"

namespace backend {
namespace {

constexpr std::size_t LongestTarget = 8192;
constexpr std::size_t LongestMethod = 16;
constexpr char HeadEnd[] = "\r\n\r\n";
constexpr char LineEnd[] = "\r\n";

bool isTokenCharacter(char c)
{
    constexpr char Others[] = "!#$%&'*+-.^_`|~";
    const bool isOther =
        std::find(Others, Others + sizeof Others - 1, c) != Others + sizeof Others - 1;
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isOther;
}

bool isToken(const std::string &text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

std::optional<std::string> decoded(const std::string &text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            result += ' ';
        } else if (text[i] != '%') {
            result += text[i];
        } else {
            const int high = i + 2 < text.size() ? hexValue(text[i + 1]) : -1;
            const int low = i + 2 < text.size() ? hexValue(text[i + 2]) : -1;
            if (high < 0 || low < 0) {
                return std::nullopt;
            }
            result += static_cast<char>(high * 16 + low);
            i += 2;
        }
    }
    return result;
}

// Whether a list such as that of the header Connection names the option.
bool names(const std::string &list, const std::string &option)
{
    std::string next;
    for (const char c : lowerCase(list) + ',') {
        if (c == ',') {
            if (next == option) {
                return true;
            }
            next.clear();
        } else if (c != ' ' && c != '\t') {
            next += c;
        }
    }
    return false;
}

} // namespace

std::optional<std::multimap<std::string, std::string>> parseQuery(const std::string &text)
{
    std::multimap<std::string, std::string> result;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('&', begin), text.size());
        const std::string pair = text.substr(begin, end - begin);
        const std::size_t equals = std::min(pair.find('='), pair.size());
        const auto name = decoded(pair.substr(0, equals));
        const auto value = decoded(equals < pair.size() ? pair.substr(equals + 1) : std::string());
        if (!name || !value) {
            return std::nullopt;
        }
        if (!pair.empty()) {
            result.emplace(*name, *value);
        }
        begin = end + 1;
    }
    return result;
}

void RequestReader::append(const char *data, std::size_t size)
{
    m_buffer.append(data, size);
    advance();
}

bool RequestReader::takeContinue()
{
    return m_state == State::Partial && std::exchange(m_expectsContinue, false);
}

bool RequestReader::giveUp()
{
    return m_state == State::Partial && !refuse(408, "TooSlow", "The request took too long");
}

Request RequestReader::take()
{
    Request request = std::move(m_request);
    request.body = m_buffer.substr(m_headSize, m_bodySize.value_or(0));
    request.closesConnection |= m_minorVersion == 0 && !m_keepsOldConnection;
    std::string rest = m_buffer.substr(m_headSize + m_bodySize.value_or(0));
    *this = RequestReader();
    m_buffer = std::move(rest);
    advance();
    return request;
}

void RequestReader::advance()
{
    if (m_state == State::Refused || m_state == State::Complete) {
        return;
    }
    if (m_headSize == 0) {
        // Empty lines before a request are left by careless clients after the last one.
        m_buffer.erase(0, std::min(m_buffer.find_first_not_of(LineEnd), m_buffer.size()));
        const std::size_t end = m_buffer.find(HeadEnd, m_searched);
        if (std::min(end, m_buffer.size()) > LargestHead) {
            refuse(431, "HeadTooLarge", "The head of the request is too large");
        } else if (end != std::string::npos) {
            readHead(end);
        }
        m_searched = m_buffer.size() < 3 ? 0 : m_buffer.size() - 3;
    }
    if (m_state == State::Refused) {
        m_buffer.clear();
        return;
    }
    const bool isComplete =
        m_headSize > 0 && m_buffer.size() >= m_headSize + m_bodySize.value_or(0);
    m_state = isComplete ? State::Complete : m_buffer.empty() ? State::Empty : State::Partial;
}

void RequestReader::readHead(std::size_t end)
{
    bool isFirst = true;
    for (std::size_t begin = 0; begin <= end;) {
        const std::size_t lineEnd = std::min(m_buffer.find(LineEnd, begin), end);
        const std::string line = m_buffer.substr(begin, lineEnd - begin);
        if (!(isFirst ? readRequestLine(line) : readHeader(line))) {
            return;
        }
        isFirst = false;
        begin = lineEnd + 2;
    }
    m_headSize = end + 4;
    requireHead();
}

bool RequestReader::readRequestLine(const std::string &line)
{
    constexpr char Version[] = "HTTP/1.";
    const std::size_t methodEnd = std::min(line.find(' '), line.size());
    const std::size_t targetEnd = line.rfind(' ');
    m_request.method = line.substr(0, methodEnd);
    if (methodEnd > LongestMethod || !isToken(m_request.method) || targetEnd <= methodEnd ||
        targetEnd == std::string::npos) {
        m_request.method.clear();
        return refuse(400, "BadRequest", "The request line cannot be understood");
    }
    std::string target = line.substr(methodEnd + 1, targetEnd - methodEnd - 1);
    const std::string version = line.substr(targetEnd + 1);
    if (version.compare(0, sizeof Version - 1, Version) != 0 || version.size() != sizeof Version ||
        (version.back() != '0' && version.back() != '1')) {
        return refuse(505, "BadVersion", "Only HTTP/1.1 is spoken here");
    }
    m_minorVersion = version.back() - '0';
    if (target.size() > LongestTarget) {
        return refuse(414, "TargetTooLong", "The address is too long");
    }
    // A proxy may be asked for the whole address.
    for (const char *scheme : {"http://", "https://"}) {
        const std::string start(scheme);
        if (target.compare(0, start.size(), start) == 0) {
            target.erase(0, std::min(target.find('/', start.size()), target.size()));
        }
    }
    const bool isVisible =
        std::all_of(target.begin(), target.end(), [](char c) { return c > ' ' && c < 127; });
    const std::size_t mark = std::min(target.find('?'), target.size());
    const auto query = parseQuery(mark < target.size() ? target.substr(mark + 1) : std::string());
    if (!isVisible || target.empty() || target.front() != '/' || !query) {
        return refuse(400, "BadRequest", "The address cannot be understood");
    }
    m_request.path = target.substr(0, mark);
    m_request.query = *query;
    return true;
}

bool RequestReader::readHeader(const std::string &line)
{
    const std::size_t colon = std::min(line.find(':'), line.size());
    const std::string name = lowerCase(line.substr(0, colon));
    const bool isClean = std::all_of(line.begin(), line.end(), [](char c) {
        return c == '\t' || (static_cast<unsigned char>(c) >= ' ' && c != 127);
    });
    if (colon == line.size() || !isToken(name) || !isClean) {
        return refuse(400, "BadRequest", "A header cannot be understood");
    }
    const std::string value = trimmed(line.substr(colon + 1));
    if (name == "content-length") {
        return readLength(value);
    }
    if (name == "transfer-encoding") {
        return refuse(411, "LengthRequired", "A body must be sent with its length");
    }
    if (name == "content-encoding" && lowerCase(value) != "identity") {
        return refuse(415, "UnsupportedEncoding", "A body must be sent as it is");
    }
    if (name == "host") {
        ++m_hostCount;
    } else if (name == "connection") {
        m_request.closesConnection |= names(value, "close");
        m_keepsOldConnection |= names(value, "keep-alive");
    } else if (name == "expect") {
        m_expectsContinue = lowerCase(value) == "100-continue";
    } else if (name == "x-forwarded-for") {
        m_request.forwardedFor += (m_request.forwardedFor.empty() ? "" : ",") + value;
    }
    return true;
}

bool RequestReader::readLength(const std::string &value)
{
    constexpr std::size_t MostDigits = 18;
    const bool isNumber = !value.empty() && std::all_of(value.begin(), value.end(), [](char c) {
        return c >= '0' && c <= '9';
    });
    if (!isNumber || m_bodySize) {
        return refuse(400, "BadRequest", "The length cannot be understood");
    }
    if (value.size() > MostDigits || std::stoull(value) > LargestBody) {
        return refuse(413, "BodyTooLarge", "The body is too large");
    }
    m_bodySize = std::stoull(value);
    return true;
}

bool RequestReader::requireHead()
{
    const bool isHostRight = m_hostCount == 1 || (m_hostCount == 0 && m_minorVersion == 0);
    return isHostRight || refuse(400, "BadRequest", "A request names one host");
}

bool RequestReader::refuse(int status, const std::string &code, const std::string &message)
{
    m_refusal = failure(status, code, message);
    m_state = State::Refused;
    return false;
}

} // namespace backend
