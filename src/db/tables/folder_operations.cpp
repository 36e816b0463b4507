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

// `found` is what looking for the folder's row has come to.
bool save(FolderSetting &setting, LookUp found, DQTransaction &transaction)
{
    if (found == LookUp::Found) {
        setting.updateTime = QDateTime::currentDateTime();
    }
    return found != LookUp::Failed && saveAndCommit(setting, found == LookUp::NoRow, transaction);
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
        takeKey(setting, stored);
        return save(setting, found, transaction);
    });
}

void changeFolderSetting(const QString &folderId, const FolderChange &change,
                         FolderSetting &changed)
{
    withRecovery([&] {
        FolderSetting setting;
        DQTransaction transaction(setting.metaInfo()->connection());
        const LookUp found =
            transaction.isActive() ? findSetting(folderId, setting) : LookUp::Failed;
        setting.folderId = folderId;
        change(setting);
        const bool isSaved = save(setting, found, transaction);
        if (isSaved) {
            changed = setting;
        }
        return isSaved;
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
        return save(setting, found, transaction);
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
