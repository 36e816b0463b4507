#include "session/drive_fixture.h"

#include <QFile>
#include <QJsonDocument>
#include <QUrl>

#include "app/environment/app_settings.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"

namespace {

localdrive::Options optionsFor(int accounts, const localdrive::Rules &rules, bool withThumbnails)
{
    localdrive::Options options;
    options.rules = rules;
    options.offerThumbnails = withThumbnails;
    options.accounts.resize(static_cast<std::size_t>(accounts));
    return options;
}

backend::Options optionsFor(const localdrive::Server &drive, const QString &reportLog)
{
    const localdrive::ApplicationOptions application;
    backend::Options options;
    options.port = 0;
    options.platform = drive.baseUrl();
    options.application = {application.id, application.secret, {}};
    options.callsAtOnce = 1;       // What clients ask reaches the drive in its order.
    options.requestsPerSecond = 0; // A test asks in a second what a person does in an hour.
    options.reportLog = reportLog.toStdString();
    return options;
}

} // namespace

localdrive::Rules ratelessRules()
{
    localdrive::Rules rules = localdrive::Rules::strict();
    rules.listsPerSecond = rules.downloadAddressesPerSecond = rules.otherCallsPerSecond = 0;
    return rules;
}

DriveFixture::DriveFixture(int accounts, const localdrive::Rules &rules, bool withThumbnails)
    : m_server(std::make_unique<localdrive::Server>(optionsFor(accounts, rules, withThumbnails)))
{
    if (!m_server->start()) {
        qFatal("The local drive found no port");
    }
    std::vector<std::string> addresses;
    for (int number = 0; number < 2; ++number) {
        m_backends.push_back(std::make_unique<backend::Server>(
            optionsFor(*m_server, m_home.filePath("backend/reports.log"))));
        m_backends.back()->start();
        addresses.push_back(m_backends.back()->baseUrl());
    }
    m_server->setBackends(addresses);
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

QVector<QJsonObject> DriveFixture::reports() const
{
    QFile file(m_home.filePath("backend/reports.log"));
    file.open(QIODevice::ReadOnly);
    QVector<QJsonObject> reports;
    while (file.isOpen() && !file.atEnd()) {
        reports.append(QJsonDocument::fromJson(file.readLine()).object());
    }
    return reports;
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
