#include <algorithm>

#include "app/environment/app_settings.h"
#include "db/dq/dq_connection.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/operations.h"
#include "db/tables/row_writing.h"

namespace {

// Values that one statement binds: well below what any SQLite takes.
constexpr int MostValues = 500;

double watchedShare(int position, int duration)
{
    return duration > 0 ? std::clamp(static_cast<double>(position) / duration, 0.0, 1.0) : 0.0;
}

// Later than the `updateTime` of every row.
QDateTime newestUpdateTime()
{
    DQQuery query = dqQuery<PlayHistory>();
    query.resultFunction(QStringLiteral("max")).resultFields({QStringLiteral("updateTime")});
    if (!query.exec() || !query.next()) {
        return timeAfter(QDateTime());
    }
    return timeAfter(dqDateTimeFromText(query.value(0).toString()));
}

LookUp findHistory(const QString &fileId, PlayHistory &history)
{
    return lookUp(history, dqColumn(&PlayHistory::fileId) == fileId);
}

bool readHistory(DQList<PlayHistory> &list)
{
    DQQuery query = dqQuery<PlayHistory>();
    list = query.filter(dqColumn(&PlayHistory::userId) == AppSettings().curUserId())
               .orderBy(QStringLiteral("updateTime desc"))
               .call();
    return hasWorked(query.metaInfo()->connection());
}

bool readRowsOf(const QString &userId, const QList<QString> &fileIds,
                QHash<QString, PlayHistory> &rows)
{
    DQQuery query = dqQuery<PlayHistory>();
    query.filter(dqColumn(&PlayHistory::userId) == userId &&
                 dqColumn(&PlayHistory::fileId).in(fileIds));
    if (!query.exec()) {
        return false;
    }
    while (query.next()) {
        PlayHistory row;
        query.recordTo(row);
        rows.insert(row.fileId.value(), row);
    }
    return hasWorked(query.metaInfo()->connection());
}

// The row keeps its `id` unless another has it now. One that is there is not touched.
bool putBack(PlayHistory history)
{
    PlayHistory present;
    const LookUp found = findHistory(history.fileId.value(), present);
    return found == LookUp::Found ||
           (found == LookUp::NoRow && history.save(loadRowById(history.id.value(), present)));
}

// Fills in what each saved row has, and what follows from it.
void settlePosition(PlayHistory &history)
{
    if (history.playPosition.isNull()) {
        history.playPosition = 0;
    }
    if (history.duration.isNull()) {
        history.duration = 0;
    }
    history.playPercentage = watchedShare(history.playPosition.value(), history.duration.value());
}

// `found` is what looking for the video's row has come to.
bool saveAsNewest(PlayHistory &history, LookUp found, DQTransaction &transaction)
{
    if (found == LookUp::Failed) {
        return false;
    }
    history.updateTime = newestUpdateTime();
    return saveAndCommit(history, found == LookUp::NoRow, transaction);
}

} // namespace

void savePlayHistory(PlayHistory &history)
{
    settlePosition(history);
    withRecovery([&history] {
        DQTransaction transaction(history.metaInfo()->connection());
        if (!transaction.isActive()) {
            return false;
        }
        PlayHistory stored;
        const LookUp found = findHistory(history.fileId.value(), stored);
        takeKey(history, stored);
        return saveAsNewest(history, found, transaction);
    });
}

std::optional<PlayHistory> changePlayHistory(const QString &fileId, const HistoryChange &change)
{
    std::optional<PlayHistory> changed;
    withRecovery([&] {
        PlayHistory history;
        DQTransaction transaction(history.metaInfo()->connection());
        const LookUp found = transaction.isActive() ? findHistory(fileId, history) : LookUp::Failed;
        history.fileId = fileId;
        change(history);
        settlePosition(history);
        const bool isSaved = saveAsNewest(history, found, transaction);
        if (isSaved) {
            changed = history;
        }
        return isSaved;
    });
    return changed;
}

LookUp lookUpPlayHistory(const QString &fileId, PlayHistory &history)
{
    LookUp found = LookUp::Failed;
    withRecovery([&] {
        found = findHistory(fileId, history);
        return found != LookUp::Failed;
    });
    return found;
}

bool loadPlayHistory(const QString &fileId, PlayHistory &history)
{
    return lookUpPlayHistory(fileId, history) == LookUp::Found;
}

void listPlayHistory(DQList<PlayHistory> &list)
{
    withRecovery([&list] { return readHistory(list); });
}

QHash<QString, PlayHistory> playHistoryOf(const QString &userId, const QStringList &fileIds)
{
    QHash<QString, PlayHistory> rows;
    for (int first = 0; first < fileIds.size(); first += MostValues) {
        const QList<QString> some = fileIds.mid(first, MostValues);
        withRecovery([&] { return readRowsOf(userId, some, rows); });
    }
    return rows;
}

void removePlayHistory(const QString &fileId)
{
    removePlayHistory(QStringList{fileId});
}

void removePlayHistory(const QStringList &fileIds)
{
    withRecovery([&fileIds] {
        DQTransaction transaction(dqMetaInfo<PlayHistory>()->connection());
        bool isDone = transaction.isActive();
        for (int first = 0; isDone && first < fileIds.size(); first += MostValues) {
            const QList<QString> some = fileIds.mid(first, MostValues);
            isDone =
                dqQuery<PlayHistory>().filter(dqColumn(&PlayHistory::fileId).in(some)).remove();
        }
        return isDone && transaction.commit();
    });
}

void clearPlayHistory()
{
    withRecovery([] {
        DQTransaction transaction(dqMetaInfo<PlayHistory>()->connection());
        if (!transaction.isActive()) {
            return false;
        }
        DQList<PlayHistory> list;
        return readHistory(list) &&
               std::all_of(list.begin(), list.end(),
                           [](const PlayHistory &history) { return history.remove(); }) &&
               transaction.commit();
    });
}

bool restorePlayHistory(const QList<PlayHistory> &removed)
{
    return withRecovery([&removed] {
        DQTransaction transaction(dqMetaInfo<PlayHistory>()->connection());
        return transaction.isActive() && std::all_of(removed.begin(), removed.end(), putBack) &&
               transaction.commit();
    });
}
