#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <httplib.h>

#include "localdrive/server.h"
#include "support/std_values.h"

namespace QTest {

template <>
inline char *toString(const std::vector<std::string> &list)
{
    return qstrdup(nlohmann::json(list).dump().c_str());
}

} // namespace QTest

using Names = std::vector<std::string>;

struct JsonReply
{
    int status = 0; // 0: no reply came.
    nlohmann::json body;

    [[nodiscard]] std::string code() const { return body.value("code", std::string()); }
    // "200", "404 NotFound.File".
    [[nodiscard]] std::string verdict() const
    {
        const std::string number = std::to_string(status);
        return status == 200 || status == 0 ? number : number + ' ' + code();
    }
    [[nodiscard]] std::string text(const char *key) const { return body.value(key, std::string()); }
    [[nodiscard]] Names names() const
    {
        Names names;
        for (const nlohmann::json &item : body.value("items", nlohmann::json::array())) {
            names.push_back(item.at("name"));
        }
        return names;
    }
};

// A caller of the local drive with an account's token.
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
        const auto reply = m_http->Post(path, headers, text, "application/json; charset=utf-8");
        m_lastHeaders = reply ? reply->headers : httplib::Headers();
        return json(reply);
    }
    // Of the last reply to post().
    [[nodiscard]] std::string lastHeader(const std::string &name) const
    {
        const auto found = m_lastHeaders.find(name);
        return found == m_lastHeaders.end() ? std::string() : found->second;
    }
    // An operation on files, by the last part of its path.
    JsonReply file(const std::string &operation, const nlohmann::json &body)
    {
        return post("/adrive/v1.0/openFile/" + operation, body);
    }
    // The same with JSON text, in which <path> stands for the id of the file there.
    JsonReply fileAt(const std::string &operation, const std::string &text)
    {
        return file(operation, withIds(text));
    }
    [[nodiscard]] nlohmann::json withIds(std::string text) const
    {
        for (std::size_t at = 0; (at = text.find('<')) != std::string::npos;) {
            const std::size_t end = text.find('>', at);
            text.replace(at, end - at + 1, m_server.fileId(text.substr(at + 1, end - at - 1)));
        }
        return nlohmann::json::parse(text);
    }
    JsonReply list() { return file("list", {{"parent_file_id", "root"}}); }
    std::string user() { return post("/adrive/v1.0/user/getDriveInfo", {}).text("user_id"); }

    JsonReply getJson(const std::string &path) { return json(m_http->Get(path)); }
    // Any address of this server.
    httplib::Result get(const std::string &url, const httplib::Headers &headers = {})
    {
        return m_http->Get(pathOf(url), headers);
    }
    [[nodiscard]] std::string pathOf(const std::string &url) const
    {
        return url.substr(m_server.baseUrl().size());
    }
    httplib::Client &http() { return *m_http; }

private:
    static JsonReply json(const httplib::Result &result)
    {
        if (!result) {
            return {};
        }
        return {result->status, nlohmann::json::parse(result->body, nullptr, false)};
    }

    localdrive::Server &m_server;
    std::unique_ptr<httplib::Client> m_http;
    std::string m_token;
    httplib::Headers m_lastHeaders;
};

// What the tests share: a running drive and a caller of its first account.
class DriveTest : public QObject
{
protected:
    void start(localdrive::Options options = {}, int accounts = 1)
    {
        options.accounts.resize(static_cast<std::size_t>(accounts));
        m_client.reset();
        m_server = std::make_unique<localdrive::Server>(std::move(options));
        QVERIFY(m_server->start());
        m_client = std::make_unique<DriveClient>(*m_server);
    }

    std::unique_ptr<localdrive::Server> m_server;
    std::unique_ptr<DriveClient> m_client;
};
