#pragma once

#include <string>

#include <httplib.h>

#include <QTcpSocket>

#include "backend/server.h"
#include "support/std_values.h"

constexpr char QrCodePath[] = "/app/oauth/authorize/qrcode";
constexpr char TokenPath[] = "/app/oauth/accessToken";
constexpr char ReportPath[] = "/app/cloudtv/pc/refresh";
constexpr char Secret[] = "moravu-local-secret"; // of the local drive's application

struct Answer
{
    int status = 0; // 0: no reply came.
    nlohmann::json body;
    std::string retryAfter;

    // "200 BODY", "429 after 2", "400 CODE: MESSAGE".
    [[nodiscard]] std::string verdict() const
    {
        const std::string what = status == 200   ? body.dump()
                                 : status == 429 ? "after " + retryAfter
                                                 : text("code") + ": " + text("message");
        return std::to_string(status) + ' ' + what;
    }
    [[nodiscard]] std::string text(const char *key) const { return body.value(key, std::string()); }
};

inline Answer answerOf(const httplib::Result &result)
{
    return result ? Answer{result->status, nlohmann::json::parse(result->body, nullptr, false),
                           result->get_header_value("Retry-After")}
                  : Answer();
}

// What the client asks for: "qrcode", "authCode=CODE" or "refreshToken=TOKEN".
inline Answer ask(int port, const std::string &what, const httplib::Headers &headers = {})
{
    httplib::Client client("127.0.0.1", port);
    client.set_read_timeout(15, 0);
    return answerOf(
        what == "qrcode"
            ? client.Post(QrCodePath, headers, "alphaTestNum=", "application/x-www-form-urlencoded")
            : client.Get(TokenPath + ("?alphaTestNum=&" + what), headers));
}

inline backend::Options optionsFor(const std::string &platform)
{
    backend::Options options;
    options.port = 0;
    options.platform = platform;
    options.application = {"moravu-local", Secret, {}};
    options.platformPatience = backend::Milliseconds(600);
    options.requestsPerSecond = 0;
    return options;
}

// A connection that says what it is told to, byte for byte.
class Peer final : public QTcpSocket
{
public:
    explicit Peer(int port)
    {
        connectToHost(QHostAddress::LocalHost, quint16(port));
        waitForConnected(1000);
    }

    [[nodiscard]] bool isOpen() const { return state() == ConnectedState; }
    bool send(const std::string &bytes)
    {
        return write(bytes.data(), qint64(bytes.size())) >= 0 && waitForBytesWritten(2000);
    }
    // All that comes until the other side closes, or until nothing has come for that long.
    QByteArray received(int milliseconds = 5000)
    {
        while (waitForReadyRead(milliseconds)) {
        }
        return readAll();
    }
};
