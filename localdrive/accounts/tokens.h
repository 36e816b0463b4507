#pragma once

#include <string>

namespace localdrive {

// What a completed login gives.
struct Tokens
{
    std::string tokenType;
    std::string accessToken;
    std::string refreshToken;
    int expiresIn = 0; // Seconds.
};

} // namespace localdrive
