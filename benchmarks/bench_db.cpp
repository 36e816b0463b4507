#include <vector>

#include <QCoreApplication>
#include <QDateTime>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>

#include "app/environment/app_settings.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"
#include "figures.h"

// The references do the same statements on the same connection with bare QSqlQuery: prepared as
// often, date-times read by the same function, the columns put into a plain struct.
namespace {

constexpr int RowCount = 10000;
constexpr int SaveCount = 1000;
constexpr int LoadCount = 1000;
constexpr int Rounds = 15;

const QString CurrentUser = QStringLiteral("u1");

struct PlainHistory
{
    int id = 0;
    QString fileId;
    QString parentFileId;
    QString userId;
    QString name;
    int duration = 0;
    double playPercentage = 0;
    int playPosition = 0;
    QString videoQualityId;
    int screenScaleType = 0;
    int subTitleType = 0;
    QString subTitle;
    QDateTime createTime;
    QDateTime updateTime;
};

PlainHistory plainRow(int number)
{
    PlainHistory row;
    row.fileId = QStringLiteral("655b1c0d9b6d4f0c8e2a%1").arg(number, 20);
    row.parentFileId = QStringLiteral("655b1c0d9b6d4f0c8e2a4d7f8e9a0b1c2d3e4f5a");
    row.userId = CurrentUser;
    row.name = QStringLiteral("第%1集 名字不长也不短.mkv").arg(number);
    row.duration = 2700;
    row.playPercentage = 0.25;
    row.playPosition = 675;
    row.videoQualityId = QStringLiteral("FHD");
    row.screenScaleType = 1;
    row.subTitleType = 2;
    row.subTitle = QStringLiteral("chi");
    row.updateTime = QDateTime::currentDateTimeUtc();
    return row;
}

PlayHistory record(const PlainHistory &row)
{
    PlayHistory history;
    history.fileId = row.fileId;
    history.parentFileId = row.parentFileId;
    history.userId = row.userId;
    history.name = row.name;
    history.duration = row.duration;
    history.playPercentage = row.playPercentage;
    history.playPosition = row.playPosition;
    history.videoQualityId = row.videoQualityId;
    history.screenScaleType = row.screenScaleType;
    history.subTitleType = row.subTitleType;
    history.subTitle = row.subTitle;
    history.updateTime = row.updateTime;
    return history;
}

PlainHistory readPlain(const QSqlQuery &query)
{
    PlainHistory row;
    row.id = query.value(0).toInt();
    row.fileId = query.value(1).toString();
    row.parentFileId = query.value(2).toString();
    row.userId = query.value(3).toString();
    row.name = query.value(4).toString();
    row.duration = query.value(5).toInt();
    row.playPercentage = query.value(6).toDouble();
    row.playPosition = query.value(7).toInt();
    row.videoQualityId = query.value(8).toString();
    row.screenScaleType = query.value(9).toInt();
    row.subTitleType = query.value(10).toInt();
    row.subTitle = query.value(11).toString();
    row.createTime = dqDateTimeFromText(query.value(12).toString());
    row.updateTime = dqDateTimeFromText(query.value(13).toString());
    return row;
}

QSqlQuery bareQuery(const QString &sql)
{
    QSqlQuery query;
    query.setForwardOnly(true);
    query.prepare(sql);
    return query;
}

void savePlain(const PlainHistory &row)
{
    QSqlQuery query = bareQuery(QStringLiteral(
        "REPLACE INTO PlayHistory (fileId,parentFileId,userId,name,duration,playPercentage,"
        "playPosition,videoQualityId,screenScaleType,subTitleType,subTitle,updateTime) values "
        "(:fileId,:parentFileId,:userId,:name,:duration,:playPercentage,:playPosition,"
        ":videoQualityId,:screenScaleType,:subTitleType,:subTitle,:updateTime);"));
    query.bindValue(QStringLiteral(":fileId"), row.fileId);
    query.bindValue(QStringLiteral(":parentFileId"), row.parentFileId);
    query.bindValue(QStringLiteral(":userId"), row.userId);
    query.bindValue(QStringLiteral(":name"), row.name);
    query.bindValue(QStringLiteral(":duration"), row.duration);
    query.bindValue(QStringLiteral(":playPercentage"), row.playPercentage);
    query.bindValue(QStringLiteral(":playPosition"), row.playPosition);
    query.bindValue(QStringLiteral(":videoQualityId"), row.videoQualityId);
    query.bindValue(QStringLiteral(":screenScaleType"), row.screenScaleType);
    query.bindValue(QStringLiteral(":subTitleType"), row.subTitleType);
    query.bindValue(QStringLiteral(":subTitle"), row.subTitle);
    query.bindValue(QStringLiteral(":updateTime"), dqDateTimeToText(row.updateTime));
    query.exec();
    query.lastInsertId();
}

std::vector<PlainHistory> listPlain()
{
    QSqlQuery query = bareQuery(QStringLiteral(
        "SELECT ALL * FROM PlayHistory WHERE userId = :arg0 ORDER BY updateTime desc ;"));
    query.bindValue(QStringLiteral(":arg0"), AppSettings().curUserId());
    query.exec();
    std::vector<PlainHistory> rows;
    while (query.next()) {
        rows.push_back(readPlain(query));
    }
    return rows;
}

void clearPlain()
{
    QSqlDatabase::database().transaction();
    const std::vector<PlainHistory> rows = listPlain();
    for (const PlainHistory &row : rows) {
        QSqlQuery query = bareQuery(QStringLiteral("DELETE FROM PlayHistory WHERE id = :arg0 ;"));
        query.bindValue(QStringLiteral(":arg0"), row.id);
        query.exec();
    }
    QSqlDatabase::database().commit();
}

void loadPlain(const QString &fileId)
{
    QSqlQuery query =
        bareQuery(QStringLiteral("SELECT ALL * FROM PlayHistory WHERE fileId = :arg0 ;"));
    query.bindValue(QStringLiteral(":arg0"), fileId);
    if (query.exec() && query.next()) {
        readPlain(query);
    }
}

void fill(int rows)
{
    DQTransaction transaction(database()->connection());
    dqQuery<PlayHistory>().remove();
    for (int i = 0; i < rows; ++i) {
        savePlain(plainRow(i));
    }
    transaction.commit();
}

double timeOfListing(const std::function<void()> &list)
{
    if (dqQuery<PlayHistory>().count() != RowCount) {
        fill(RowCount);
    }
    return secondsOf(list);
}

double timeOfSaving(const std::function<void(const PlainHistory &)> &save)
{
    fill(0);
    std::vector<PlainHistory> rows;
    rows.reserve(SaveCount);
    for (int i = 0; i < SaveCount; ++i) {
        rows.push_back(plainRow(i));
    }
    return secondsOf([&] {
        DQTransaction transaction(database()->connection());
        for (const PlainHistory &row : rows) {
            save(row);
        }
        transaction.commit();
    });
}

double timeOfLoading(const std::function<void(const QString &)> &load)
{
    fill(LoadCount);
    const QString fileId = plainRow(LoadCount / 2).fileId;
    return secondsOf([&] {
        for (int i = 0; i < LoadCount; ++i) {
            load(fileId);
        }
    });
}

std::vector<Figure> figures()
{
    return {
        {"db: list 10,000 history rows", "s", 1.5,
         [] {
             return timeOfListing([] {
                 DQList<PlayHistory> list;
                 listPlayHistory(list);
             });
         },
         [] { return timeOfListing([] { listPlain(); }); }, Rounds},
        {"db: 1,000 saves in one transaction", "s", 1.3,
         [] { return timeOfSaving([](const PlainHistory &row) { record(row).save(true); }); },
         [] { return timeOfSaving(savePlain); }, Rounds},
        {"db: clear 10,000 history rows", "s", 1.3, [] { return timeOfListing(clearPlayHistory); },
         [] { return timeOfListing(clearPlain); }, Rounds},
        {"db: 1,000 loads by natural key", "s", 1.3,
         [] {
             return timeOfLoading([](const QString &fileId) {
                 PlayHistory history;
                 loadPlayHistory(fileId, history);
             });
         },
         [] { return timeOfLoading(loadPlain); }, Rounds},
    };
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    AppSettings().setCurUserId(CurrentUser);
    Database file;
    setDatabase(&file);
    return runFigures(argc, argv, figures());
}
