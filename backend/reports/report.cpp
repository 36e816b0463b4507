#include "backend/reports/report.h"

#include <algorithm>
#include <array>
#include <ctime>

#include <nlohmann/json.hpp>

#include "backend/secrets/crypto.h"

namespace backend {
namespace {

using Json = nlohmann::json;

// Known to every client; it keeps reports from being read in passing, nothing more.
constexpr char ReportKey[] = "Qm3vT8pLxR2nWk7ZcY4hJdFs";

struct Field
{
    const char *name;
    Json::value_t type;
    bool isKept;
};

constexpr Field Fields[] = {
    {"userId", Json::value_t::string, true},
    {"deviceId", Json::value_t::string, true},
    {"username", Json::value_t::string, true},
    {"nickname", Json::value_t::string, true},
    {"userAvatar", Json::value_t::string, true},
    {"refreshToken", Json::value_t::string, false},
    {"token", Json::value_t::string, false},
    {"tokenExpiresIn", Json::value_t::number_integer, true},
    {"appVersion", Json::value_t::string, true},
    {"osType", Json::value_t::number_integer, true},
    {"osVersion", Json::value_t::string, true},
    {"device", Json::value_t::string, true},
    {"model", Json::value_t::string, true},
    {"brand", Json::value_t::string, true},
    {"part_info_list", Json::value_t::array, false}, // Of the client's record; always empty.
};

bool isOfType(const Json &value, Json::value_t type)
{
    return type == Json::value_t::number_integer ? value.is_number_integer() : value.type() == type;
}

// A report has all its fields, also those that are empty.
bool isReport(const Json &report)
{
    return report.is_object() &&
           std::all_of(std::begin(Fields), std::end(Fields), [&report](const Field &field) {
               const auto found = report.find(field.name);
               return found != report.end() && isOfType(*found, field.type);
           });
}

} // namespace

std::optional<std::string> reportLine(const std::string &hex, const std::string &time)
{
    const std::optional<std::string> plain = decryptAes192(hex, ReportKey);
    const Json report = plain ? Json::parse(*plain, nullptr, false) : Json();
    if (!isReport(report)) {
        return std::nullopt;
    }
    nlohmann::ordered_json line = {{"time", time}};
    for (const Field &field : Fields) {
        if (field.isKept) {
            line[field.name] = report[field.name];
        }
    }
    return line.dump();
}

std::string utcNow()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

} // namespace backend
