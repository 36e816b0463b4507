#pragma once

#include <memory>
#include <vector>

#include <QJsonObject>
#include <QVector>

#include "backend/server.h"
#include "db/tables/user_info.h"
#include "localdrive/server.h"
#include "support/log_capture.h"
#include "support/temporary_home.h"

class Database;

// As unkind as the platform but for its rates: a test asks in a second for what a person asks for
// in minutes, and would wait most of its time.
localdrive::Rules ratelessRules();

// A home of its own with an open database, and a local drive that all addresses of the program
// point to, with two product backends behind it. One at a time.
class DriveFixture final
{
    Q_DISABLE_COPY_MOVE(DriveFixture)

public:
    // The drive is as unkind as the platform unless it is told otherwise. It has to work for each
    // thumbnail, which most tests do not look at.
    explicit DriveFixture(int accounts = 1,
                          const localdrive::Rules &rules = localdrive::Rules::strict(),
                          bool withThumbnails = false);
    ~DriveFixture();

    localdrive::Server &server() { return *m_server; }

    // Stores the account's user with a pair of tokens that the drive takes, as if logged in so
    // many seconds ago; makes them the current user.
    UserInfo logIn(int account = 0, int secondsAgo = 0);

    std::vector<localdrive::RequestRecord> requests(const QString &path) const;
    // What the backends keep of the system reports that it received, oldest first.
    QVector<QJsonObject> reports() const;

private:
    TemporaryHome m_home;
    // They take turns, and go after the drive, which ends their calls.
    std::vector<std::unique_ptr<backend::Server>> m_backends;
    std::unique_ptr<localdrive::Server> m_server;
    std::unique_ptr<Database> m_database;
};

QString text(const std::string &utf8);
QString header(const localdrive::RequestRecord &request, const std::string &name);
QJsonObject bodyOf(const localdrive::RequestRecord &request);
