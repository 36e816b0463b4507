#include "db/tables/operations.h"

#include "db/dq/dq_connection.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/database.h"
#include "db/tables/row_writing.h"

namespace {

DQWhere hasId(int id)
{
    return DQWhere(QStringLiteral("id = "), id);
}

} // namespace

void openDatabase()
{
    if (!database()) {
        setDatabase(new Database);
    }
}

bool loadRowById(int id, DQModel &record)
{
    return record.load(hasId(id));
}

bool changeFieldById(int id, const QString &fieldName, const QVariant &value, DQModel &record)
{
    return withRecovery([&] {
        const DQModelMetaInfo *model = record.metaInfo();
        DQTransaction transaction(model ? model->connection() : DQConnection());
        return transaction.isActive() && loadRowById(id, record) &&
               model->setValue(record, fieldName, value) &&
               saveAndCommit(record, false, transaction);
    });
}
