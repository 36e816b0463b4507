#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "backend/wire/reply.h"

namespace backend {

constexpr std::size_t LargestHead = 16384;
constexpr std::size_t LargestBody = 65536;

struct Request
{
    std::string method;
    std::string path;                              // As sent, without the query.
    std::multimap<std::string, std::string> query; // Decoded.
    std::string forwardedFor;                      // Of all such headers, in their order.
    std::string body;
    bool closesConnection = false;
};

// Cuts the bytes of a connection into requests. What it does not understand to the letter it
// refuses, so that it never disagrees with a proxy about where a request ends. It holds no more
// than a head and a body of the largest sizes, and what came with the last read after them.
class RequestReader final
{
public:
    enum class State {
        Empty,    // Nothing of a request has come.
        Partial,  // Something has, not all.
        Complete, // take() gives it.
        Refused   // refusal() says why; nothing that follows can be understood.
    };

    void append(const char *data, std::size_t size);
    [[nodiscard]] State state() const { return m_state; }
    [[nodiscard]] const Reply &refusal() const { return m_refusal; }
    // Of a refused or partial request as far as it is known, for the log.
    [[nodiscard]] const Request &request() const { return m_request; }
    // Refuses a partial request, for it takes too long; false when there is none.
    bool giveUp();
    // True once for a client that waits with its body until it is asked for it.
    bool takeContinue();
    // The complete request; the reader then looks at what follows it.
    Request take();

private:
    void advance();
    void readHead(std::size_t end);
    bool readRequestLine(const std::string &line);
    bool readHeader(const std::string &line);
    bool readLength(const std::string &value);
    bool requireHead();
    bool refuse(int status, const std::string &code, const std::string &message);

    std::string m_buffer;
    State m_state = State::Empty;
    Request m_request;
    Reply m_refusal;
    std::size_t m_searched = 0; // No head ends before it.
    std::size_t m_headSize = 0; // 0 until the head has come.
    std::optional<std::size_t> m_bodySize;
    int m_minorVersion = 1;
    int m_hostCount = 0;
    bool m_keepsOldConnection = false; // HTTP/1.0 with "keep-alive".
    bool m_expectsContinue = false;
};

// Decodes "a=1&b=%20"; nothing when an escape is broken.
std::optional<std::multimap<std::string, std::string>> parseQuery(const std::string &text);

} // namespace backend
