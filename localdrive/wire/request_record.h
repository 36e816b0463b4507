#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace localdrive {

// A request as it arrived, before any fault. Requests to /control/ are not recorded.
struct RequestRecord
{
    std::int64_t number = 0; // Counts from 1.
    std::int64_t time = 0;   // Milliseconds since the epoch.
    std::string method;
    std::string path; // Decoded, without the query.
    std::multimap<std::string, std::string> query;
    std::multimap<std::string, std::string> headers; // Names in lower case.
    std::string body;
    int account = -1; // Number of the account whose token or address was used; -1: none.
    int status = 0;   // Of the reply; 0 while it is being made.
};

} // namespace localdrive
