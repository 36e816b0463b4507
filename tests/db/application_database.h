#pragma once

#include <memory>

#include <QTest>

#include "app/environment/app_settings.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "support/temporary_home.h"

// The application's database in a home folder of its own, opened as start-up does it, with "u1" as
// the current user.
class ApplicationDatabase final
{
    Q_DISABLE_COPY_MOVE(ApplicationDatabase)

public:
    ApplicationDatabase()
    {
        AppSettings().setCurUserId("u1");
        open();
    }
    ~ApplicationDatabase() = default;

    void open()
    {
        m_database.reset();
        openDatabase();
        m_database.reset(database());
    }

    // Others then find no database published.
    void close()
    {
        if (m_database) {
            m_database->close();
        }
        m_database.reset();
    }

    bool execute(const QString &sql) { return DQConnection(m_database->connection()).exec(sql); }

    [[nodiscard]] QString path() const { return m_home.filePath("moravu/moravu.db"); }
    [[nodiscard]] QString home() const { return m_home.path(); }

private:
    const TemporaryHome m_home;
    std::unique_ptr<Database> m_database;
};

inline UserInfo user(const QString &userId, const QString &accessToken = "a",
                     const QString &refreshToken = "r")
{
    UserInfo info;
    info.userId = userId;
    info.nickname = QString("用户");
    info.accessToken = accessToken;
    info.refreshToken = refreshToken;
    return info;
}

inline UserInfo store(UserInfo info)
{
    saveUserInfo(info);
    return info;
}

inline UserInfo storedUser(const QString &userId)
{
    UserInfo info;
    loadUserInfo(userId, info);
    return info;
}

inline PlayHistory played(const QString &fileId, const QString &userId = "u1")
{
    PlayHistory history;
    history.fileId = fileId;
    history.userId = userId;
    return history;
}

inline PlayHistory store(PlayHistory history)
{
    savePlayHistory(history);
    return history;
}

// The files of the current user's history, in the order of the list.
inline QString listedFiles()
{
    DQList<PlayHistory> list;
    listPlayHistory(list);
    QStringList files;
    for (const PlayHistory &history : list) {
        files.append(history.fileId.value());
    }
    return files.join(' ');
}

inline const QString LongAgo = "2020-02-03 04:05:06";

inline bool isNow(const QDateTime &dateTime)
{
    return qAbs(dateTime.msecsTo(QDateTime::currentDateTimeUtc())) < 3000;
}
