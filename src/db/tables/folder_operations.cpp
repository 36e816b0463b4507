#include <algorithm>

#include "db/dq/dq_connection.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/operations.h"
#include "db/tables/row_writing.h"

void loadFolderSetting(const QString &folderId, FolderSetting &setting)
{
    setting = FolderSetting();
    setting.load(dqColumn(&FolderSetting::folderId) == folderId);
}

void saveFolderSetting(FolderSetting &setting)
{
    writeOrRemember([&setting] {
        DQTransaction transaction(setting.metaInfo()->connection());
        FolderSetting stored;
        loadFolderSetting(setting.folderId.value(), stored);
        const bool isNew = stored.id.isNull();
        takeKey(setting, stored);
        if (!isNew) {
            setting.updateTime = QDateTime::currentDateTime();
        }
        return saveAndCommit(setting, isNew, transaction);
    });
}

void clearSkipPositions(const QString &folderId)
{
    writeOrRemember([&folderId] {
        FolderSetting setting;
        DQTransaction transaction(setting.metaInfo()->connection());
        if (!transaction.isActive()) {
            return false;
        }
        loadFolderSetting(folderId, setting);
        setting.skipHeadPos = 0;
        setting.skipTailPos = 0;
        setting.updateTime = QDateTime::currentDateTime();
        return setting.id.isNull() || saveAndCommit(setting, false, transaction);
    });
}

void clearFolderSettings()
{
    writeOrRemember([] {
        DQTransaction transaction(dqMetaInfo<FolderSetting>()->connection());
        if (!transaction.isActive()) {
            return false;
        }
        const DQList<FolderSetting> settings = dqQuery<FolderSetting>().call();
        return std::all_of(settings.begin(), settings.end(),
                           [](const FolderSetting &setting) { return setting.remove(); }) &&
               transaction.commit();
    });
}
