#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace backend {

// What a client is answered; the body is the text of a JSON object.
struct Reply
{
    int status = 200;
    std::string body;
    int retryAfter = 0;  // Seconds; 0: the header is left out.
    std::string allowed; // The method that a path takes; empty: the header is left out.
};

Reply success(const nlohmann::json &body);
Reply failure(int status, const std::string &code, const std::string &message);
Reply tooManyRequests(int retryAfter);
Reply overloaded();

// The bytes of a reply; one to HEAD has no body.
std::string toHttp(const Reply &reply, bool closesConnection, bool isHead);

} // namespace backend
