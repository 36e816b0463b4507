#include "db/tables/operations.h"

#include "db/dq/dq_connection.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/database.h"

namespace {

DQWhere hasId(int id)
{
    return DQWhere(QStringLiteral("id = "), id);
}

} // namespace

void openDatabase()
{
    if (!database())
        setDatabase(new Database);
}

bool loadRowById(int id, DQModel &record)
{
    return record.load(hasId(id));
}

bool changeFieldById(int id, const QString &fieldName, const QVariant &value, DQModel &record)
{
    const DQModelMetaInfo &model = *record.metaInfo();
    DQTransaction transaction(model.connection());
    return transaction.isActive() && loadRowById(id, record) &&
           model.setValue(record, fieldName, value) && record.save() && transaction.commit();
}
