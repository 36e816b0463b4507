#include <algorithm>

#include "db/dq/dq_connection.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/operations.h"
#include "db/tables/row_writing.h"

namespace {

LookUp findSetting(const QString &folderId, FolderSetting &setting)
{
    return lookUp(setting, dqColumn(&FolderSetting::folderId) == folderId);
}

} // namespace

void loadFolderSetting(const QString &folderId, FolderSetting &setting)
{
    setting = FolderSetting();
    withRecovery([&] { return findSetting(folderId, setting) != LookUp::Failed; });
}

void saveFolderSetting(FolderSetting &setting)
{
    withRecovery([&setting] {
        DQTransaction transaction(setting.metaInfo()->connection());
        FolderSetting stored;
        const LookUp found =
            transaction.isActive() ? findSetting(setting.folderId.value(), stored) : LookUp::Failed;
        if (found == LookUp::Failed) {
            return false;
        }
        const bool isNew = found == LookUp::NoRow;
        takeKey(setting, stored);
        if (!isNew) {
            setting.updateTime = QDateTime::currentDateTime();
        }
        return saveAndCommit(setting, isNew, transaction);
    });
}

void clearSkipPositions(const QString &folderId)
{
    withRecovery([&folderId] {
        FolderSetting setting;
        DQTransaction transaction(setting.metaInfo()->connection());
        const LookUp found =
            transaction.isActive() ? findSetting(folderId, setting) : LookUp::Failed;
        if (found != LookUp::Found) {
            return found == LookUp::NoRow;
        }
        setting.skipHeadPos = 0;
        setting.skipTailPos = 0;
        setting.updateTime = QDateTime::currentDateTime();
        return saveAndCommit(setting, false, transaction);
    });
}

void clearFolderSettings()
{
    withRecovery([] {
        const DQConnection connection = dqMetaInfo<FolderSetting>()->connection();
        DQTransaction transaction(connection);
        if (!transaction.isActive()) {
            return false;
        }
        const DQList<FolderSetting> settings = dqQuery<FolderSetting>().call();
        return hasWorked(connection) &&
               std::all_of(settings.begin(), settings.end(),
                           [](const FolderSetting &setting) { return setting.remove(); }) &&
               transaction.commit();
    });
}
