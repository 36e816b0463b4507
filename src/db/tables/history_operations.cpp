#include <algorithm>

#include "app/environment/app_settings.h"
#include "db/dq/dq_connection.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/operations.h"
#include "db/tables/row_writing.h"

namespace {

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

// The row keeps its `id` unless another has it now. One that is there is not touched.
bool putBack(PlayHistory history)
{
    PlayHistory present;
    return loadPlayHistory(history.fileId.value(), present) ||
           history.save(loadRowById(history.id.value(), present));
}

} // namespace

void savePlayHistory(PlayHistory &history)
{
    if (history.playPosition.isNull()) {
        history.playPosition = 0;
    }
    if (history.duration.isNull()) {
        history.duration = 0;
    }
    history.playPercentage = watchedShare(history.playPosition.value(), history.duration.value());

    writeOrRemember([&history] {
        DQTransaction transaction(history.metaInfo()->connection());
        if (!transaction.isActive()) {
            return false;
        }
        history.updateTime = newestUpdateTime();
        PlayHistory stored;
        const bool isNew = !loadPlayHistory(history.fileId.value(), stored);
        takeKey(history, stored);
        return saveAndCommit(history, isNew, transaction);
    });
}

bool loadPlayHistory(const QString &fileId, PlayHistory &history)
{
    return history.load(dqColumn(&PlayHistory::fileId) == fileId);
}

void listPlayHistory(DQList<PlayHistory> &list)
{
    list = dqQuery<PlayHistory>()
               .filter(dqColumn(&PlayHistory::userId) == AppSettings().curUserId())
               .orderBy(QStringLiteral("updateTime desc"))
               .call();
}

void removePlayHistory(const QString &fileId)
{
    writeOrRemember([&fileId] {
        return dqQuery<PlayHistory>().filter(dqColumn(&PlayHistory::fileId) == fileId).remove();
    });
}

void clearPlayHistory()
{
    writeOrRemember([] {
        DQTransaction transaction(dqMetaInfo<PlayHistory>()->connection());
        if (!transaction.isActive()) {
            return false;
        }
        DQList<PlayHistory> list;
        listPlayHistory(list);
        return std::all_of(list.begin(), list.end(),
                           [](const PlayHistory &history) { return history.remove(); }) &&
               transaction.commit();
    });
}

bool restorePlayHistory(const QList<PlayHistory> &removed)
{
    return writeOrRemember([&removed] {
        DQTransaction transaction(dqMetaInfo<PlayHistory>()->connection());
        return transaction.isActive() && std::all_of(removed.begin(), removed.end(), putBack) &&
               transaction.commit();
    });
}
