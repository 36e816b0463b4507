#include "localdrive/routes/routes.h"
#include "localdrive/wire/api_error.h"
#include "localdrive/wire/crypto.h"

namespace localdrive {
namespace {

constexpr char PageHead[] = R"(<!DOCTYPE html>
<html lang="zh"><meta charset="utf-8"><meta name="viewport" content="width=device-width">
<title>本地云盘 - 扫码登录</title>
<style>body{font:18px sans-serif;max-width:26em;margin:3em auto;text-align:center}
button{font-size:18px;padding:.6em 1.4em;margin:.4em}code{color:#888}</style>
<h1>本地云盘</h1>)";

struct StatusText
{
    const char *status;
    const char *text;
};

constexpr StatusText StatusTexts[] = {
    {"WaitLogin", "等待扫描"},         {"ScanSuccess", "已扫描，请确认登录"},
    {"LoginSuccess", "已允许登录"},    {"CANCELED", "已取消"},
    {"QRCodeExpired", "二维码已过期"},
};

std::string escaped(const std::string &text)
{
    std::string html;
    for (const char c : text) {
        switch (c) {
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        case '&':
            html += "&amp;";
            break;
        case '"':
            html += "&quot;";
            break;
        default:
            html += c;
        }
    }
    return html;
}

std::string button(const std::string &action, const std::string &label,
                   const std::string &value = {})
{
    return "<form method=post action=\"" + action + "\">" + value + "<button>" + escaped(label) +
           "</button></form>";
}

// What a person must show whose drive serves nobody else.
constexpr char SecretField[] = "<input type=password name=secret placeholder=控制密钥 required>";

class LoginPages final
{
public:
    explicit LoginPages(Platform &platform) : m_platform(platform) {}

    void status(Call &call) const
    {
        const LoginSessions::State state = stateOf(call.captures.at(0));
        if (state.status == "QRCodeExpired" && m_platform.rules().expiredCodeIsError) {
            throw ApiError(400, "QRCodeExpired", "The QR code has expired");
        }
        call.reply({{"status", state.status}, {"authCode", state.authCode}});
    }

    void openWeb(Call &call) const { call.response.set_redirect("/scan/" + call.param("sid")); }

    void openCode(Call &call) const { call.response.set_redirect("/scan/" + call.captures.at(0)); }

    void page(Call &call) const
    {
        const std::string sid = call.captures.at(0);
        const LoginSessions::State state = stateOf(sid);
        std::string html = PageHead;
        for (const StatusText &entry : StatusTexts) {
            if (state.status == entry.status) {
                html += "<p><b id=status>" + std::string(entry.text) + "</b></p>";
            }
        }
        if (state.status == "WaitLogin") {
            html += button("/scan/" + sid + "/scan", "扫描二维码");
        }
        if (state.status == "WaitLogin" || state.status == "ScanSuccess") {
            for (const auto &account : m_platform.accounts) {
                html += confirmButton(sid, *account);
            }
            html += button("/scan/" + sid + "/cancel", "取消");
        }
        call.replyPage(html + "<p><code>" + escaped(sid) + "</code></p></html>");
    }

    void press(Call &call) const
    {
        const std::string sid = call.captures.at(0);
        const std::string action = call.captures.at(1);
        const int account = pressedAccount(call);
        const bool needsSecret = m_platform.options.ownerOnly && action == "confirm";
        if (needsSecret && !equalInConstantTime(call.param("secret"), m_platform.controlSecret)) {
            throw ApiError(403, "ControlSecretInvalid", "Only the owner of the drive may log in");
        }
        const bool done = action == "scan"      ? m_platform.logins.scan(sid)
                          : action == "confirm" ? m_platform.logins.confirm(sid, account)
                                                : m_platform.logins.cancel(sid);
        if (!done) {
            throw ApiError(409, "InvalidState", "The QR code is not waiting for this");
        }
        call.response.set_redirect("/scan/" + sid, 303);
    }

private:
    // Nobody is logged in whom the form did not name: without a number it is the first account.
    [[nodiscard]] static int pressedAccount(const Call &call)
    {
        const std::string type = call.request.get_header_value("Content-Type");
        if (!call.request.body.empty() && type.find("form") == std::string::npos) {
            throw ApiError(415, "UnsupportedMediaType", "The body is not said to be a form");
        }
        const std::string number = call.param("account");
        if (number.find_first_not_of("0123456789") != std::string::npos) {
            throw ApiError(400, "InvalidParameter", "The account is not a number");
        }
        return std::atoi(number.c_str());
    }
    [[nodiscard]] std::string confirmButton(const std::string &sid, const Account &account) const
    {
        std::string value =
            "<input type=hidden name=account value=" + std::to_string(account.number) + '>';
        if (m_platform.options.ownerOnly) {
            value += SecretField;
        }
        return button("/scan/" + sid + "/confirm", "以 " + account.facts.nickName + " 登录", value);
    }

    [[nodiscard]] LoginSessions::State stateOf(const std::string &sid) const
    {
        const std::optional<LoginSessions::State> state = m_platform.logins.state(sid);
        if (!state) {
            throw ApiError(404, "NotFound.QrCode", "There is no such QR code");
        }
        return *state;
    }

    Platform &m_platform;
};

} // namespace

std::vector<Route> loginRoutes(Platform &platform)
{
    const LoginPages pages(platform);
    return {
        {"GET", "/oauth/qrcode/([0-9a-f]+)/status", Access::Open,
         [pages](Call &call) { pages.status(call); }},
        {"GET", "/oauth/qrcode/([0-9a-f]+)", Access::Open,
         [pages](Call &call) { pages.openCode(call); }},
        {"GET", "/o/oauth/authorize", Access::Open, [pages](Call &call) { pages.openWeb(call); }},
        {"GET", "/scan/([0-9a-f]+)", Access::Open, [pages](Call &call) { pages.page(call); }},
        {"POST", "/scan/([0-9a-f]+)/(scan|confirm|cancel)", Access::Open,
         [pages](Call &call) { pages.press(call); }},
    };
}

} // namespace localdrive
