#pragma once

#include <memory>
#include <string>
#include <vector>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <QtTest>

#include "localdrive/server.h"

namespace QTest {

template <>
inline char *toString(const std::string &text)
{
    return qstrdup(text.c_str());
}

template <>
inline char *toString(const nlohmann::json &json)
{
    return qstrdup(json.dump().c_str());
}

template <>
inline char *toString(const std::vector<std::string> &list)
{
    return qstrdup(nlohmann::json(list).dump().c_str());
}

} // namespace QTest

/// A row's text as the local drive takes it.
inline std::string utf8(const QString &text)
{
    return text.toStdString();
}

struct JsonReply
{
    int status = 0; ///< 0: no reply came.
    nlohmann::json body;

    [[nodiscard]] std::string code() const { return body.value("code", std::string()); }
};

/// A caller of the local drive with an account's token.
class DriveClient final
{
public:
    explicit DriveClient(localdrive::Server &server, int account = 0)
        : m_server(server)
        , m_http(std::make_unique<httplib::Client>("127.0.0.1", server.port()))
        , m_token(server.loginDirectly(account).accessToken)
    {
        m_http->set_read_timeout(10, 0);
        m_http->set_keep_alive(true);
        m_http->set_tcp_nodelay(true); // head and body go out apart
    }

    void setToken(const std::string &token) { m_token = token; }

    JsonReply post(const std::string &path, const nlohmann::json &body)
    {
        const httplib::Headers headers = {{"Authorization", "Bearer " + m_token}};
        const std::string text = body.is_null() ? "{}" : body.dump();
        return json(m_http->Post(path, headers, text, "application/json; charset=utf-8"));
    }

    /// An operation on files, by the last part of its path.
    JsonReply file(const std::string &operation, const nlohmann::json &body)
    {
        return post("/adrive/v1.0/openFile/" + operation, body);
    }

    JsonReply getJson(const std::string &path) { return json(m_http->Get(path)); }

    /// Any address of this server.
    httplib::Result get(const std::string &url, const httplib::Headers &headers = {})
    {
        return m_http->Get(url.substr(m_server.baseUrl().size()), headers);
    }

    httplib::Client &http() { return *m_http; }

private:
    static JsonReply json(const httplib::Result &result)
    {
        if (!result)
            return {};
        return {result->status, nlohmann::json::parse(result->body, nullptr, false)};
    }

    localdrive::Server &m_server;
    std::unique_ptr<httplib::Client> m_http;
    std::string m_token;
};

inline std::vector<std::string> namesOf(const JsonReply &reply)
{
    std::vector<std::string> names;
    for (const nlohmann::json &item : reply.body.value("items", nlohmann::json::array()))
        names.push_back(item.at("name"));
    return names;
}
