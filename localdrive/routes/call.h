#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include "localdrive/accounts/account.h"

namespace localdrive {

constexpr char JsonType[] = "application/json; charset=utf-8";

// One request on its way through an operation.
struct Call
{
    const httplib::Request &request;
    httplib::Response &response;
    std::vector<std::string> captures;              // Groups of the route's expression.
    nlohmann::json body = nlohmann::json::object(); // An object; empty when none was sent.
    Account *account = nullptr;                     // Owner of the token.
    std::int64_t logNumber = 0;

    void reply(const nlohmann::json &json, int status = 200) const;
    void replyPage(const std::string &html) const;
    // The caller's drive. A body that names another one fails by ApiError 403.
    [[nodiscard]] Drive &drive() const;
    [[nodiscard]] Node file() const; // The file that the body names; 400 for a folder.
    [[nodiscard]] std::string param(const std::string &name) const;
    // A member of the body: the fallback when it is absent or null; 400 when of another type.
    [[nodiscard]] std::string text(const char *key, const std::string &fallback = {}) const;
    [[nodiscard]] std::int64_t number(const char *key, std::int64_t fallback = 0) const;
    [[nodiscard]] bool flag(const char *key, bool fallback = false) const;
};

} // namespace localdrive
