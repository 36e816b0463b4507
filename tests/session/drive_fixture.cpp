#include "session/drive_fixture.h"

#include <QJsonDocument>
#include <QUrl>

#include "app/environment/app_settings.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"

namespace {

localdrive::Options optionsFor(int accounts)
{
    localdrive::Options options;
    options.accounts.resize(static_cast<std::size_t>(accounts));
    return options;
}

} // namespace

DriveFixture::DriveFixture(int accounts)
    : m_server(std::make_unique<localdrive::Server>(optionsFor(accounts)))
{
    if (!m_server->start()) {
        qFatal("The local drive found no port");
    }
    for (const char *variable : {"MORAVU_OPENAPI_BASE", "MORAVU_BACKEND_BASE", "MORAVU_WEB_BASE"}) {
        qputenv(variable, QByteArray::fromStdString(m_server->baseUrl()));
    }
    m_database = std::make_unique<Database>();
    setDatabase(m_database.get());
}

DriveFixture::~DriveFixture()
{
    setDatabase(nullptr);
}

UserInfo DriveFixture::logIn(int account, int secondsAgo)
{
    const localdrive::Tokens tokens = m_server->loginDirectly(account);
    UserInfo user;
    user.userId = text(m_server->userId(account));
    user.driveId = text(m_server->driveId(account));
    user.tokenType = text(tokens.tokenType);
    user.accessToken = text(tokens.accessToken);
    user.refreshToken = text(tokens.refreshToken);
    user.tokenExpiresIn = tokens.expiresIn;
    user.updateTime = QDateTime::currentDateTimeUtc().addSecs(-secondsAgo);
    saveUserInfo(user);
    AppSettings().setCurUserId(user.userId.value());
    return user;
}

std::vector<localdrive::RequestRecord> DriveFixture::requests(const QString &path) const
{
    return m_server->requestsTo(path.toStdString());
}

QString text(const std::string &utf8)
{
    return QString::fromStdString(utf8);
}

QString header(const localdrive::RequestRecord &request, const std::string &name)
{
    const auto found = request.headers.find(name);
    return found == request.headers.end() ? QString() : text(found->second);
}

QJsonObject bodyOf(const localdrive::RequestRecord &request)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(request.body)).object();
}
