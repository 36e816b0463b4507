#pragma once

#include <memory>

#include <QTemporaryDir>
#include <QtTest>

#include "app/environment/app_settings.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"

inline QString utf8(const char *text)
{
    return QString::fromUtf8(text);
}

/// The application's database in a home directory of its own, opened as start-up does it, with
/// "u1" as the current user.
class ApplicationDatabase final
{
    Q_DISABLE_COPY_MOVE(ApplicationDatabase)

public:
    ApplicationDatabase()
    {
        qputenv("HOME", m_home.path().toUtf8());
        open();
        AppSettings().setCurUserId(utf8("u1"));
    }
    ~ApplicationDatabase() = default;

    void reopen()
    {
        m_database.reset();
        open();
    }

    void close() { m_database->close(); }

    bool execute(const QString &sql)
    {
        DQConnection connection = m_database->connection();
        return connection.exec(sql);
    }

    /// From now on every transaction that writes a row of `table` fails when it is committed.
    void letCommitsFail(const char *table)
    {
        const QStringList statements{
            utf8("PRAGMA foreign_keys=ON"), utf8("CREATE TABLE Missing (id INTEGER PRIMARY KEY)"),
            utf8("CREATE TABLE Broken (missing INTEGER REFERENCES Missing(id) "
                 "DEFERRABLE INITIALLY DEFERRED)"),
            utf8("CREATE TRIGGER breakCommit AFTER INSERT ON %1 "
                 "BEGIN INSERT INTO Broken VALUES (1); END")
                .arg(utf8(table))};
        for (const QString &statement : statements)
            QVERIFY(execute(statement));
    }

    [[nodiscard]] QString home() const { return m_home.path(); }

private:
    void open()
    {
        openDatabase();
        m_database.reset(database());
    }

    const QTemporaryDir m_home;
    std::unique_ptr<Database> m_database;
};

inline UserInfo user(const char *userId, const char *accessToken = "a",
                     const char *refreshToken = "r")
{
    UserInfo info;
    info.userId = utf8(userId);
    info.nickname = utf8("用户");
    info.accessToken = utf8(accessToken);
    info.refreshToken = utf8(refreshToken);
    return info;
}

inline UserInfo storedUser(const char *userId)
{
    UserInfo info;
    loadUserInfo(utf8(userId), info);
    return info;
}

inline PlayHistory played(const char *fileId, const char *userId = "u1")
{
    PlayHistory history;
    history.fileId = utf8(fileId);
    history.userId = utf8(userId);
    return history;
}

/// The files of the current user's history, in the order of the list.
inline QString listedFiles()
{
    DQList<PlayHistory> list;
    listPlayHistory(list);
    QStringList files;
    for (const PlayHistory &history : list)
        files.append(history.fileId.value());
    return files.join(QLatin1Char(' '));
}

inline bool isNow(const QDateTime &dateTime)
{
    return qAbs(dateTime.msecsTo(QDateTime::currentDateTimeUtc())) < 3000;
}
